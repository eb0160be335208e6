#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <string>

namespace Orvane::Platform {

// Why a thread waits: for work, which may never come, or for the result of a request. For a result a late wake-up adds
// latency.
enum class Awaited { Work, Result };

// A named auto-reset event that two processes share. A set is never lost and releases exactly one wait. That wait sees
// everything that was written before the set. Functions that fail leave the system's last error readable.
class Event {
 public:
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    Event() = default;  // empty: no event

    // Not signalled. Empty on failure. If an event of that name exists, the call fails on Linux (see
    // `RenewModuleWord`). On Windows it returns that event in its present state.
    static Event Create(const std::string& name);

    // Empty if there is no such event. On Linux also empty if the event belongs to another user or its maker is dead.
    // There a successful call removes the name, so that no other process can open the event.
    static Event Open(const std::string& name);

    explicit operator bool() const { return static_cast<bool>(state); }

    // Do not call these for an empty event. `Wait` returns false after `milliseconds` without a set, and on failure.
    // `kind` is the number of the awaited call: waits of the same kind are expected to take similar times.
    // On Linux a wait for a result may move its thread to another processor that it may run on. It restores the
    // affinity.
    bool Set();
    bool Wait(uint32_t milliseconds, Awaited awaited, uint32_t kind = 0);

 private:
    struct State;

    Owned<State> state;
};

}  // namespace Orvane::Platform
