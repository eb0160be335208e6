#pragma once

#include "platform/handle.h"

#include <cstddef>
#include <string>

namespace Orvane::Platform {

// What an event and a section have in common on Linux: a POSIX shared-memory object, readable by this user only.

struct DescriptorPolicy {
    using Value = int;
    static constexpr Value kNone = -1;
    static void Close(Value descriptor) noexcept;
};

using Descriptor = UniqueHandle<DescriptorPolicy>;

// The object of that name: a new one with `size` bytes, the first page of which has its memory, or the one that there
// is.
Descriptor CreateSharedObject(const std::string& name, size_t size);

// Gives the first `size` bytes of the object their memory. False, with `errno`, when there is not enough.
bool AllocateSharedObject(const Descriptor& object, size_t size);

// Opens the object and takes its name away: it lives on in those who have it open, and whoever dies leaves nothing.
Descriptor OpenSharedObject(const std::string& name);

// Keeps `errno`. A name that is gone already is fine.
void RemoveSharedObjectName(const std::string& name);

}  // namespace Orvane::Platform
