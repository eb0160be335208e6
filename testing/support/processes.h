#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// Helpers for tests of processes, on both systems.
namespace Orvane::Testing {

// The limit of a wait for something that must happen, also on a busy machine.
constexpr std::chrono::seconds kPatience{30};

// Calls `done()` until it returns true. Returns false if it does not within the limit.
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

// A handle with which a test watches a process and ends it.
class Process {
 public:
    // A process that other code started. Throws if no process has this number.
    explicit Process(uint32_t number);

    // Starts a program with one argument, both UTF-8. The program ends with this object, or with this process.
    Process(const std::string& program, const std::string& argument);

    // Returns whether the process still runs after this time.
    bool Lives(std::chrono::milliseconds time = {}) const;

    void Kill() const;

    // Waits up to `kPatience`. If the process does not end, kills it and throws. If this object started it, returns how
    // it ended: its exit value, "killed", or "failed fast".
    std::string End() const;

    uint32_t Number() const;

 private:
    struct State;
    std::shared_ptr<State> state;
};

// The running processes that `parent` started. 0 is this process.
std::vector<uint32_t> Children(uint32_t parent = 0);

// Waits up to `kPatience` for the children of this process to end, then kills them. Returns what is left: children or
// names.
std::string LeftBehind();

// Waits up to `kPatience` until a killed client has left nothing: no host, and no name that the next channel of this
// user would not remove. The client's number and the module word of its names identify it. Returns what is left.
std::string LeftBehindBy(uint32_t client, uint32_t moduleWord);

// Why tests do not kill a starting process or its client on this system. Empty if they can.
std::string WhyNotKilledAtStart();

// Counts what a leak would increase in this process: handles or descriptors, mappings, threads, names.
std::vector<size_t> Footprint();

// Sets the folder for temporary files of this process.
void SetTemporaryFolder(const std::string& folder);

// Ends this process if this object exists for more than four minutes.
class Watchdog {
 public:
    Watchdog();
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

 private:
    [[maybe_unused]] void* timer = nullptr;  // only on Windows
};

}  // namespace Orvane::Testing
