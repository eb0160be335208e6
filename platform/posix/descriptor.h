#pragma once

#include "platform/handle.h"

#include <fcntl.h>
#include <unistd.h>

namespace Orvane::Platform {

struct DescriptorPolicy {
    using Value = int;
    static constexpr Value kNone = -1;
    static void Close(Value descriptor) noexcept { close(descriptor); }
};

using Descriptor = UniqueHandle<DescriptorPolicy>;

// Takes ownership of the result of a system call: an open descriptor or -1. An application may have closed one of the
// standard three. If the descriptor has such a number, it gets a higher one, so that no output is written into it.
inline Descriptor OwnDescriptor(int opened) {
    Descriptor owned(opened);
    if (opened < 0 || opened > STDERR_FILENO) {
        return owned;
    }
    return Descriptor(fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace Orvane::Platform
