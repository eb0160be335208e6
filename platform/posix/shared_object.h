#pragma once

#include "platform/posix/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Orvane::Platform {

// What an event and a section have in common on Linux: a POSIX shared-memory object, readable by this user only, on
// which its maker holds a lock as long as it lives. The lock tells whether it does; a process's number would not, which
// another process can have, at the same time in another namespace or later.

// A new object with `size` bytes, the first page of which has its memory, and locked. None, with EEXIST, when the name
// is taken: what somebody else made is never used.
Descriptor CreateSharedObject(const std::string& name, uint64_t size);

// Gives the first `size` bytes of the object their memory. False, with `errno`, when there is not enough.
bool AllocateSharedObject(const Descriptor& object, uint64_t size);

// The object of that name, if it is one of this user's and its maker lives.
Descriptor OpenSharedObject(const std::string& name);

// Takes the object's name away, if it is still this object that has it: the object lives on in those who have it open,
// and whoever dies then leaves nothing. Keeps `errno`.
void RemoveSharedObjectName(const std::string& name, const Descriptor& object);

}  // namespace Orvane::Platform
