#include "platform/posix/shared_object.h"

#include "platform/posix/blocked_signals.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <utility>

namespace Orvane::Platform {

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

// The limit on the size of files applies here too. A size above it would raise a signal that ends the application.
bool ExceedsFileSizeLimit(uint64_t size) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || size <= limit.rlim_cur) {
        return false;
    }
    errno = EFBIG;
    return true;
}

// Does not wait for the lock, because another process could hold it forever.
bool LockAndSize(const Descriptor& object, uint64_t size) {
    return fchmod(object.Get(), kOwnerOnly) == 0 && flock(object.Get(), LOCK_EX | LOCK_NB) == 0 &&
           ftruncate(object.Get(), static_cast<off_t>(size)) == 0 && AllocateSharedObject(object, 1);
}

// Locks the object before it has a name, so that no process finds it unlocked. No value if the file system has no files
// without a name, or if this process has no /proc to name them.
std::optional<Descriptor> CreateAndName(const std::string& name, uint64_t size) {
    Descriptor object = OwnDescriptor(open("/dev/shm", O_TMPFILE | O_RDWR | O_CLOEXEC, kOwnerOnly));
    if (!object) {
        return std::nullopt;
    }
    if (!LockAndSize(object, size)) {
        return Descriptor();
    }
    const std::string opened = "/proc/self/fd/" + std::to_string(object.Get());
    const std::string path = "/dev/shm/" + name;
    if (linkat(AT_FDCWD, opened.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        return errno == EEXIST ? std::optional(Descriptor()) : std::nullopt;
    }
    return object;
}

// Locks the object after it has its name. Until then any process of this user may lock it, for instance to remove
// abandoned objects. Such a name counts as taken.
Descriptor CreateUnderName(const std::string& name, uint64_t size) {
    Descriptor object = OwnDescriptor(shm_open(("/" + name).c_str(), O_RDWR | O_CREAT | O_EXCL, kOwnerOnly));
    if (!object) {
        return {};
    }
    struct stat attributes {};
    if (!LockAndSize(object, size)) {
        errno = errno == EWOULDBLOCK ? EEXIST : errno;
    } else if (fstat(object.Get(), &attributes) != 0 || attributes.st_nlink == 0) {
        errno = EEXIST;
    } else {
        return object;
    }
    RemoveSharedObjectName(name, object);
    return {};
}

}  // namespace

Descriptor CreateSharedObject(const std::string& name, uint64_t size) {
    if (ExceedsFileSizeLimit(size)) {
        return {};
    }
    std::optional<Descriptor> created = CreateAndName(name, size);
    return created ? std::move(*created) : CreateUnderName(name, size);
}

bool AllocateSharedObject(const Descriptor& object, uint64_t size) {
    if (ExceedsFileSizeLimit(size)) {
        return false;
    }
    // A signal would undo the allocation of many pages. Frequent signals would undo every attempt.
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
    const LastErrorGuard guard;
    struct stat named {};
    struct stat own {};
    if (lstat(("/dev/shm/" + name).c_str(), &named) == 0 && fstat(object.Get(), &own) == 0 &&
        named.st_dev == own.st_dev && named.st_ino == own.st_ino) {
        shm_unlink(("/" + name).c_str());
    }
}

}  // namespace Orvane::Platform
