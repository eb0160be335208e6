#include "platform/interrupt.h"

#include <windows.h>

#include <atomic>

namespace Orvane::Platform {

namespace {

std::atomic<bool> interrupted{false};

// The system calls it on a thread of its own, and the next handler when it answers FALSE.
BOOL WINAPI TakeFirst(DWORD event) {
    return event == CTRL_C_EVENT && !interrupted.exchange(true) ? TRUE : FALSE;
}

}  // namespace

struct InterruptFlag::State {
    State() {
        interrupted = false;
        SetConsoleCtrlHandler(TakeFirst, TRUE);
    }
    ~State() { SetConsoleCtrlHandler(TakeFirst, FALSE); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
};

InterruptFlag::InterruptFlag() : state(new State) {}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the watch lasts as long as the object
bool InterruptFlag::IsSet() const {
    return interrupted;
}

}  // namespace Orvane::Platform
