#include "platform/posix/shared_object.h"

#include "platform/posix/blocked_signals.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace Orvane::Platform {

void DescriptorPolicy::Close(Value descriptor) noexcept {
    close(descriptor);
}

Descriptor CreateSharedObject(const std::string& name, size_t size) {
    const std::string path = "/" + name;
    Descriptor created(shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
    if (!created) {
        return errno == EEXIST ? Descriptor(shm_open(path.c_str(), O_RDWR, 0)) : Descriptor();
    }
    if (ftruncate(created.Get(), static_cast<off_t>(size)) != 0 || !AllocateSharedObject(created, 1)) {
        RemoveSharedObjectName(name);
        return {};
    }
    return created;
}

bool AllocateSharedObject(const Descriptor& object, size_t size) {
    // A signal would undo the allocation of many pages, and one that comes often each new attempt.
    const BlockedSignals blocked;
    errno = posix_fallocate(object.Get(), 0, static_cast<off_t>(size));
    return errno == 0;
}

Descriptor OpenSharedObject(const std::string& name) {
    Descriptor opened(shm_open(("/" + name).c_str(), O_RDWR, 0));
    if (opened) {
        RemoveSharedObjectName(name);
    }
    return opened;
}

void RemoveSharedObjectName(const std::string& name) {
    const LastErrorKept kept;
    shm_unlink(("/" + name).c_str());
}

}  // namespace Orvane::Platform
