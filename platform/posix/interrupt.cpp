#include "platform/interrupt.h"

#include <atomic>
#include <csignal>

namespace Orvane::Platform {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

}  // namespace

struct InterruptFlag::State {
    State() {
        interrupted = false;
        struct sigaction once {};
        once.sa_handler = [](int) { interrupted = true; };
        once.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        sigaction(SIGINT, &once, &previous);
    }
    ~State() { sigaction(SIGINT, &previous, nullptr); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    struct sigaction previous {};
};

InterruptFlag::InterruptFlag() : state(new State) {}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the flag is valid only while the object exists
bool InterruptFlag::IsSet() const {
    return interrupted;
}

}  // namespace Orvane::Platform
