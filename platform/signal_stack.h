#pragma once

#ifndef _WIN32
#include <csignal>
#endif

namespace Orvane::Platform {

// Restores the calling thread's alternate signal stack in its destructor. A library of the inference runtime replaces
// that stack while it loads, and frees its own when it is unloaded, perhaps on another thread. Signal handlers of the
// application would then run on freed memory. If the system refuses to restore the stack, because the processor's
// registers have outgrown it, the thread keeps the library's. Does nothing on Windows, which has no such stacks.
class SignalStackGuard {
 public:
#ifdef _WIN32
    SignalStackGuard() {}   // NOLINT(modernize-use-equals-default): as on Linux, no warning about an unused variable
    ~SignalStackGuard() {}  // NOLINT(modernize-use-equals-default)
#else
    SignalStackGuard() {
        sigaltstack(nullptr, &before);
    }
    ~SignalStackGuard() {
        sigaltstack(&before, nullptr);
    }
#endif
    SignalStackGuard(const SignalStackGuard&) = delete;
    SignalStackGuard& operator=(const SignalStackGuard&) = delete;

#ifndef _WIN32
 private:
    stack_t before{};
#endif
};

}  // namespace Orvane::Platform
