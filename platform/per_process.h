#pragma once

#include "platform/process.h"

#include <atomic>
#include <memory>

namespace Orvane::Platform {

// A value that each forked child constructs anew. So a child never finds a mutex that is locked by a thread of its
// parent.
template <typename Value>
class PerProcess {
 public:
    PerProcess() : newest(new Copy) {}
    ~PerProcess() { delete newest.load(); }
    PerProcess(const PerProcess&) = delete;
    PerProcess& operator=(const PerProcess&) = delete;

    // The value of this process. Thread-safe.
    Value& Get() const {
        Copy* current = newest;
        while (!current->owner.IsThisProcess()) {
            auto own = std::make_unique<Copy>();
            if (newest.compare_exchange_strong(current, own.get())) {
                own->parents.reset(current);  // other threads may still read its owner
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
