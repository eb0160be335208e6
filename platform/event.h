#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <string>

namespace Orvane::Platform {

// What a thread waits for. A host process waits for work, which may never come, so it must use little processor time. A
// client waits for the result of a request. Only this wait may move the thread to another processor.
enum class Awaited { Work, Result };

// A named auto-reset event that two processes share. A set stays until a wait takes it, and ends exactly one wait. The
// thread of that wait sees everything that was written before the set. Functions that fail leave the system's last
// error readable.
class Event {
 public:
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    Event() = default;  // empty: no event

    // Returns an event that is not set; empty on failure. If an event of that name exists, the call fails on Linux: see
    // `RenewModuleWord` in shared_names.h. On Windows it returns that event in its present state.
    static Event Create(const std::string& name);

    // Returns the event; empty if there is no such event. On Linux also empty if the event belongs to another user, or
    // if the process that created it is dead. On Linux a successful call removes the name, so that no other process can
    // open the event.
    static Event Open(const std::string& name);

    explicit operator bool() const { return static_cast<bool>(state); }

    // Do not call these functions for an empty event. `Wait` returns false after `milliseconds` without a set, and on
    // failure. `kind` is the number of a call in the protocol. Waits with the same `kind` usually take similar times,
    // which `Wait` learns. On Linux a wait for a result may move its thread to another processor of its affinity. The
    // affinity does not change.
    bool Set();
    bool Wait(uint32_t milliseconds, Awaited awaited, uint32_t kind = 0);

 private:
    struct State;

    Owned<State> state;
};

}  // namespace Orvane::Platform
