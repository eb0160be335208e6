#pragma once

#include "platform/process.h"

#include <atomic>
#include <memory>

namespace Orvane::Platform {

// A value that a forked child has anew, as it was first. Whatever a thread of the parent was doing with the parent's,
// such as holding a mutex in it, does not reach the child.
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
