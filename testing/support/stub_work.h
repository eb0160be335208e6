#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace Orvane::Testing {

// What a run of a stub model does instead of a model's work:
//   "rest MICROSECONDS"   sleeps
//   "compute STEPS"       does STEPS calculations on every processor; other threads there make it slower
// Otherwise it does nothing.
class StubWork {
 public:
    StubWork(const std::string& kind, int64_t theAmount) : amount(theAmount), rests(kind == "rest") {
        if (kind == "compute") {
            for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) {
                helpers.emplace_back([this] { Help(); });
            }
            computes = true;
        }
    }
    ~StubWork() {
        isOver = true;
        Begin();
        for (std::thread& helper : helpers) {
            helper.join();
        }
    }
    StubWork(const StubWork&) = delete;
    StubWork& operator=(const StubWork&) = delete;

    void Run() {
        if (rests) {
            std::this_thread::sleep_for(std::chrono::microseconds(amount));
        } else if (computes && amount != 0) {
            Begin();
            Compute();
            while (helping != 0) {
                std::this_thread::yield();
            }
        }
    }

 private:
    void Begin() {
        helping = helpers.size();
        ++round;
        round.notify_all();
    }

    void Help() {
        for (uint32_t last = 0;;) {
            round.wait(last);
            last = round;
            if (isOver) {
                return;
            }
            Compute();
            --helping;
        }
    }

    void Compute() {
        uint64_t value = 1;
        for (int64_t i = 0; i < amount; ++i) {
            value = value * 0x5851F42D4C957F2D + 1;
        }
        result = value;  // so that the compiler keeps the loop
    }

    int64_t amount;
    bool rests;
    bool computes = false;
    std::atomic<uint64_t> result{0};
    std::atomic<bool> isOver{false};
    std::atomic<uint32_t> round{0};
    std::atomic<size_t> helping{0};
    std::vector<std::thread> helpers;
};

}  // namespace Orvane::Testing
