#include "platform/posix/shared_object.h"

#include "platform/posix/blocked_signals.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace Orvane::Platform {

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

// A limit on the size of files counts here too, and to pass it would be a signal that ends the application.
bool ExceedsFileSizeLimit(uint64_t size) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || size <= limit.rlim_cur) {
        return false;
    }
    errno = EFBIG;
    return true;
}

// Whoever removes what the dead have left may hold the lock of an object that was not locked yet, for a moment.
bool Lock(const Descriptor& object) {
    while (flock(object.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    struct stat attributes {};
    if (fstat(object.Get(), &attributes) != 0) {
        return false;
    }
    errno = EEXIST;  // as if the name had been taken: it was taken away
    return attributes.st_nlink != 0;
}

}  // namespace

Descriptor CreateSharedObject(const std::string& name, uint64_t size) {
    if (ExceedsFileSizeLimit(size)) {
        return {};
    }
    Descriptor created = OwnDescriptor(shm_open(("/" + name).c_str(), O_RDWR | O_CREAT | O_EXCL, kOwnerOnly));
    if (!created) {
        return {};
    }
    if (fchmod(created.Get(), kOwnerOnly) != 0 || !Lock(created) ||
        ftruncate(created.Get(), static_cast<off_t>(size)) != 0 || !AllocateSharedObject(created, 1)) {
        RemoveSharedObjectName(name, created);
        return {};
    }
    return created;
}

bool AllocateSharedObject(const Descriptor& object, uint64_t size) {
    if (ExceedsFileSizeLimit(size)) {
        return false;
    }
    // A signal would undo the allocation of many pages, and one that comes often each new attempt.
    const BlockedSignals blocked;
    errno = posix_fallocate(object.Get(), 0, static_cast<off_t>(size));
    return errno == 0;
}

Descriptor OpenSharedObject(const std::string& name) {
    Descriptor opened = OwnDescriptor(shm_open(("/" + name).c_str(), O_RDWR, 0));
    struct stat attributes {};
    if (!opened || fstat(opened.Get(), &attributes) != 0) {
        return {};
    }
    if (!S_ISREG(attributes.st_mode) || attributes.st_uid != geteuid() || (attributes.st_mode & 07777) != kOwnerOnly) {
        errno = EACCES;
        return {};
    }
    if (flock(opened.Get(), LOCK_SH | LOCK_NB) == 0) {
        errno = ESRCH;
        return {};
    }
    return opened;
}

void RemoveSharedObjectName(const std::string& name, const Descriptor& object) {
    const LastErrorKept kept;
    struct stat named {};
    struct stat own {};
    if (lstat(("/dev/shm/" + name).c_str(), &named) == 0 && fstat(object.Get(), &own) == 0 &&
        named.st_dev == own.st_dev && named.st_ino == own.st_ino) {
        shm_unlink(("/" + name).c_str());
    }
}

}  // namespace Orvane::Platform
