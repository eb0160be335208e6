#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <string>

namespace Orvane::Platform {

// What a wait is for: work that may never come, or the result of work that was handed over, for which whoever wakes up
// late has made it longer.
enum class Awaited { Work, Result };

// A named auto-reset event that two processes share. A set is never lost and releases exactly one wait; what was
// written before it is seen after the wait. What fails leaves the system's last error readable.
class Event {
 public:
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    Event() = default;  // empty: no event

    // Not signalled. Empty on failure. When there is an event of that name already, it fails on Linux (see
    // `RenewModuleWord`) and is that event, as it is, on Windows.
    static Event Create(const std::string& name);

    // Empty when there is no such event. On Linux also when it is another user's or its maker is dead; and the name is
    // gone afterwards: nobody else is to open it.
    static Event Open(const std::string& name);

    explicit operator bool() const { return static_cast<bool>(state); }

    // Not for an empty event. `Wait` returns false after `milliseconds` without a set, and on failure.
    // Waits of the same `kind` are expected to take similar times; the call's number says what is waited for.
    // On Linux a wait for a result may move its thread to another of the processors that it may run on; its affinity
    // is afterwards as it was.
    bool Set();
    bool Wait(uint32_t milliseconds, Awaited awaited, uint32_t kind = 0);

 private:
    struct State;

    Owned<State> state;
};

}  // namespace Orvane::Platform
