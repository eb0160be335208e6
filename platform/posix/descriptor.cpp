#include "platform/posix/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace Orvane::Platform {

void DescriptorPolicy::Close(Value descriptor) noexcept {
    close(descriptor);
}

Descriptor OwnDescriptor(int opened) {
    Descriptor owned(opened);
    if (opened < 0 || opened > STDERR_FILENO) {
        return owned;
    }
    return Descriptor(fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace Orvane::Platform
