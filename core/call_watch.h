#pragma once

#include <chrono>
#include <cstdint>
#include <exception>

namespace Orvane {

// Steps of a load; the numbers are those of the C interface.
enum class LoadStep : int32_t { None, Reading, Compiling, Importing, Writing, StartingHost, InHost };

// Thrown by an operation whose watched call was given up or ran out of time. The host process, if there is one, is in
// the middle of a request then: release it.
struct CallStopped : std::exception {
    const char* what() const noexcept override { return "the call was stopped"; }
};
struct CallGivenUp : CallStopped {};
struct CallTimedOut : CallStopped {};

// Limits what one thread does while the watch exists: all its operations together may wait for hosts until one
// deadline, and a function may give them up. Of several watches of a thread, the newest applies.
class CallWatch {
 public:
    // Anything but 0 gives up. Called on the watched thread, at each step of a load and about five times a second while
    // an operation waits for a host.
    using Progress = int32_t (*)(void* user, int32_t step);

    // `limit` in milliseconds, 0 for none; `progress` may be null.
    CallWatch(uint32_t limit, Progress progress, void* user);
    ~CallWatch();
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;

    // For the operations. Without a watch on this thread they do nothing.

    // A load begins this step.
    static void Enter(LoadStep step);

    // Throws when the deadline is over; calls `progress` if its time has come.
    static void Look();

    // Milliseconds until the next look: at most `atMost`.
    static uint32_t Within(uint32_t atMost);

 private:
    using Clock = std::chrono::steady_clock;

    void AskProgress();

    Clock::time_point deadline;
    Clock::time_point nextProgress;
    Progress progress;
    void* user;
    LoadStep step = LoadStep::None;
    CallWatch* outer;
};

}  // namespace Orvane
