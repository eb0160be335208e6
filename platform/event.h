#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Orvane::Platform {

// A named auto-reset event that two processes share. A set is never lost and releases exactly one wait; what was
// written before it is seen after the wait. What fails leaves the system's last error readable.
class Event {
 public:
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    Event() = default;  // empty: no event
    Event(Event&& other) noexcept = default;
    Event& operator=(Event&& other) noexcept = default;  // closes the event that is held

    // Not signalled; or the event of that name, as it is, when there is one already. Empty on failure.
    static Event Create(const std::string& name);

    // Empty when there is no such event. On Linux the name is gone afterwards: nobody else is to open it.
    static Event Open(const std::string& name);

    explicit operator bool() const { return state != nullptr; }

    // Not for an empty event. `Wait` returns false after `milliseconds` without a set, and on failure.
    // On Linux a wait of the side that made the event may move its thread to another of the processors that it may run
    // on; its affinity is afterwards as it was.
    bool Set();
    bool Wait(uint32_t milliseconds);

 private:
    struct State;  // closes in its destructor and keeps the last error

    std::shared_ptr<State> state;
};

}  // namespace Orvane::Platform
