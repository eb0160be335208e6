#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// What tests ask about processes, on both systems.
namespace Orvane::Testing {

// True as soon as `done()` is; false when it is not within the limit.
template <typename Condition>
bool Within(std::chrono::steady_clock::duration limit, Condition done) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !done();) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// The right to watch a process and to end it.
class Process {
 public:
    // A process that somebody else started; an exception when there is none of that number.
    explicit Process(uint32_t number);

    // Starts a program with one argument, both UTF-8. It goes with this object, or with this process.
    Process(const std::string& program, const std::string& argument);

    // True when it has not ended after this time.
    bool Lives(std::chrono::milliseconds time = {}) const;

    void Kill() const;

    // Waits up to 10 seconds; a process that does not end is killed, and throws. Of one that was started here, how it
    // ended: its exit value, "killed", or "failed fast".
    std::string End() const;

    uint32_t Number() const;

 private:
    struct State;
    std::shared_ptr<State> state;
};

// The living processes that a process started, this one unless said.
std::vector<uint32_t> Children(uint32_t parent = 0);

// Waits up to 10 seconds until this process has left nothing: no child, which is then killed, and no name. Returns what
// there is.
std::string LeftBehind();

// Waits up to 2 seconds until a client that was killed has left nothing: no host, and no name that the next channel of
// this user would not remove. It is told by its number and by the module word of its names. Returns what there is.
std::string LeftBehindBy(uint32_t client, uint32_t moduleWord);

// Why tests do not kill a process while it is being started, or its client; empty where they can.
std::string WhyNotKilledAtStart();

// How much this process holds of what a leak would make more: handles or descriptors, mappings, threads, names.
std::vector<size_t> Footprint();

// Where this process puts temporary files from now on.
void SetTemporaryFolder(const std::string& folder);

// Ends this process when it lives for more than two minutes.
class Watchdog {
 public:
    Watchdog();
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

 private:
    [[maybe_unused]] void* timer = nullptr;  // on Windows
};

}  // namespace Orvane::Testing
