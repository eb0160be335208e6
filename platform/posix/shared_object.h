#pragma once

#include "platform/posix/descriptor.h"
#include "platform/process.h"

#include <cstdint>
#include <string>
#include <utility>

namespace Orvane::Platform {

// What an event and a section share on Linux: a POSIX shared-memory object that only this user can read. Its maker
// holds a lock on it as long as the maker lives, so the lock shows whether it lives. A process id could not show that:
// another process can have it, now in another namespace or later.

// A new, locked object of `size` bytes, with memory for its first page. Empty, with EEXIST, if the name is taken:
// existing objects are never used.
Descriptor CreateSharedObject(const std::string& name, uint64_t size);

// Allocates memory for the first `size` bytes of the object. False, with `errno`, if there is not enough.
bool AllocateSharedObject(const Descriptor& object, uint64_t size);

// The object of that name. Empty unless it belongs to this user and its maker lives.
Descriptor OpenSharedObject(const std::string& name);

// Removes the object's name, if the name still refers to this object. Processes that have the object open keep it, and
// it disappears with the last of them. Preserves `errno`.
void RemoveSharedObjectName(const std::string& name, const Descriptor& object);

// An open object. If this process created it under `name`, the destructor removes the name. A forked child owns no
// name.
struct SharedObject {
    explicit SharedObject(Descriptor opened, std::string ownName = "")
        : descriptor(std::move(opened)), name(std::move(ownName)) {}
    SharedObject(SharedObject&&) = default;
    SharedObject& operator=(SharedObject&&) = delete;
    ~SharedObject() {
        if (descriptor && !name.empty() && maker.IsThisProcess()) {
            RemoveSharedObjectName(name, descriptor);
        }
    }

    Descriptor descriptor;  // holds the maker's lock
    std::string name;
    ProcessMark maker;
};

}  // namespace Orvane::Platform
