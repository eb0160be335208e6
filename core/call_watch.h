#pragma once

#include "core/deadline.h"

#include <cstdint>
#include <exception>

namespace Orvane {

// The steps of a load, with the numbers of the C interface.
enum class LoadStep : int32_t { None, Reading, Compiling, Importing, Writing, StartingHost, InHost };

// An operation throws one of these when `progress` cancels the call or the call times out. If there is a host process,
// it is then in the middle of a request: release it.
struct CallStopped : std::exception {
    const char* what() const noexcept override { return "the call was stopped"; }
};
struct CallCancelled : CallStopped {};
struct CallTimedOut : CallStopped {};

// While a watch exists, all operations of its thread share one deadline for their waits for host processes, and
// `progress` can cancel them. If a thread has several watches, the newest applies.
class CallWatch {
 public:
    // A result other than 0 cancels the call. Runs on the watched thread, at each step of a load and about five times a
    // second while an operation waits for a host process.
    using Progress = int32_t (*)(void* user, int32_t step);

    // `limit` is in milliseconds, 0 for no limit. `progress` may be null.
    CallWatch(uint32_t limit, Progress progress, void* user);
    ~CallWatch();
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;

    // Operations call these functions, which do nothing if this thread has no watch.

    // Call this when a load begins `step`. Throws `CallCancelled` if `progress` cancels.
    static void BeginStep(LoadStep step);

    // Throws `CallTimedOut` after the deadline. Calls `progress` if it is due, and throws `CallCancelled` if that
    // cancels.
    static void Check();

    // Milliseconds until the next `Check` is due, but at most `atMost`.
    static uint32_t UntilCheck(uint32_t atMost);

 private:
    void AskProgress();

    Deadline deadline;
    Deadline nextProgress;
    Progress progress;
    void* user;
    LoadStep step = LoadStep::None;
    CallWatch* outer;
};

}  // namespace Orvane
