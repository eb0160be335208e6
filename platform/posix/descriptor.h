#pragma once

#include "platform/handle.h"

namespace Orvane::Platform {

struct DescriptorPolicy {
    using Value = int;
    static constexpr Value kNone = -1;
    static void Close(Value descriptor) noexcept;
};

using Descriptor = UniqueHandle<DescriptorPolicy>;

// Takes over what a system call returned, an open descriptor or -1. One of the standard three, which an application may
// have closed, is exchanged for a higher one: whoever writes to the standard output must not write into it.
Descriptor OwnDescriptor(int opened);

}  // namespace Orvane::Platform
