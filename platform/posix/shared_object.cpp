#include "platform/posix/shared_object.h"

#include "platform/posix/blocked_signals.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace Orvane::Platform {

Descriptor::~Descriptor() {
    if (number >= 0) {
        const int error = errno;
        close(number);
        errno = error;
    }
}

Descriptor CreateSharedObject(const std::string& name, size_t size) {
    const std::string path = "/" + name;
    Descriptor created(shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
    if (!created) {
        return errno == EEXIST ? Descriptor(shm_open(path.c_str(), O_RDWR, 0)) : Descriptor();
    }
    if (ftruncate(created.Number(), static_cast<off_t>(size)) != 0 || !ReserveSharedObject(created, 1)) {
        RemoveSharedObjectName(name);
        return {};
    }
    return created;
}

bool ReserveSharedObject(const Descriptor& object, size_t size) {
    // A signal would undo the reservation of many pages, and one that comes often each new attempt.
    const BlockedSignals blocked;
    errno = posix_fallocate(object.Number(), 0, static_cast<off_t>(size));
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
    const int error = errno;
    shm_unlink(("/" + name).c_str());
    errno = error;
}

}  // namespace Orvane::Platform
