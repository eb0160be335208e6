#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace Orvane {

// The end of a wait.
class Deadline {
 public:
    Deadline() = default;  // no limit

    // `milliseconds` from now; 0 is no limit.
    explicit Deadline(uint32_t milliseconds)
        : end(milliseconds != 0 ? Clock::now() + std::chrono::milliseconds(milliseconds) : Clock::time_point::max()) {}

    bool IsOver() const { return IsSet() && Clock::now() >= end; }

    // Milliseconds that are left, but at most `atMost`.
    uint32_t Left(uint32_t atMost) const {
        if (!IsSet()) {
            return atMost;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        return static_cast<uint32_t>(std::clamp<int64_t>(left, 0, atMost));
    }

 private:
    using Clock = std::chrono::steady_clock;

    bool IsSet() const { return end != Clock::time_point::max(); }

    Clock::time_point end = Clock::time_point::max();
};

}  // namespace Orvane
