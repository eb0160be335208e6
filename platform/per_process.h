#pragma once

#include "platform/process.h"

#include <atomic>
#include <memory>

namespace Orvane::Platform {

// A value of which each forked child has a new one, as its constructor makes it. So a child never finds a mutex locked
// by a thread that only its parent has.
template <typename Value>
class PerProcess {
 public:
    PerProcess() : newest(new Copy) {}
    ~PerProcess() { delete newest.load(); }
    PerProcess(const PerProcess&) = delete;
    PerProcess& operator=(const PerProcess&) = delete;

    // This process's own. Any thread.
    Value& Get() const {
        Copy* current = newest;
        while (!current->owner.IsThisProcess()) {
            auto own = std::make_unique<Copy>();
            if (newest.compare_exchange_strong(current, own.get())) {
                own->parents.reset(current);  // other threads may be about to look at its owner
                return own.release()->value;
            }
        }
        return current->value;
    }

 private:
    struct Copy {
        ProcessMark owner;
        std::unique_ptr<Copy> parents;
        Value value;
    };

    mutable std::atomic<Copy*> newest;
};

}  // namespace Orvane::Platform
