#pragma once

#include "platform/handle.h"

namespace Orvane::Platform {

struct DescriptorPolicy {
    using Value = int;
    static constexpr Value kNone = -1;
    static void Close(Value descriptor) noexcept;
};

using Descriptor = UniqueHandle<DescriptorPolicy>;

// Takes ownership of the result of a system call: an open descriptor or -1. An application may have closed one of the
// standard three. If the descriptor has such a number, it gets a higher one, so that no output is written into it.
Descriptor OwnDescriptor(int opened);

}  // namespace Orvane::Platform
