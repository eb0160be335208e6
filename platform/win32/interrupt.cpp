#include "platform/interrupt.h"

#include <windows.h>

#include <atomic>

namespace Orvane::Platform {

namespace {

std::atomic<bool> interrupted{false};

// The system calls this on a separate thread. If this returns FALSE, it calls the next handler.
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

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the flag is valid only while the object exists
bool InterruptFlag::IsSet() const {
    return interrupted;
}

}  // namespace Orvane::Platform
