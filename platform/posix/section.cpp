#include "platform/section.h"

#include "platform/posix/shared_object.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <utility>

namespace Orvane::Platform {

struct View::State {
    static void Close(State* view) noexcept {
        munmap(view->base, view->mapped);
        delete view;
    }

    uint8_t* base;
    size_t mapped;  // bytes of address space, with the guard
};

struct Section::State {
    SharedObject object;
    uint64_t committed = 0;
};

namespace {

// Empty address space after a view. Offsets in a message have 32 bits. An offset that exceeds the view therefore faults
// at once and reaches no other memory.
constexpr size_t kGuard = (size_t{1} << 32) + (size_t{1} << 16);

// If the address space is limited, returns at most an eighth of what the view leaves, because the application needs the
// rest. Returns 0 if the system does not report how much is left.
size_t GuardAfter(size_t length) {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return kGuard;
    }
    const auto pageSize = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size_t usedPages = 0;
    if (!(std::ifstream("/proc/self/statm") >> usedPages)) {
        return 0;
    }
    const size_t used = usedPages * pageSize + length;
    return limit.rlim_cur > used ? std::min(kGuard, (limit.rlim_cur - used) / 8 / pageSize * pageSize) : 0;
}

void* MapWithGuard(size_t length, size_t& mapped) {
    void* space = MAP_FAILED;
    for (const size_t guard : {GuardAfter(length), size_t{0}}) {
        if (space == MAP_FAILED) {
            mapped = length + guard;
            space = mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        }
    }
    return space;
}

}  // namespace

uint8_t* View::Data() const {
    return state.Get()->base;
}

Section Section::Create(const std::string& name, uint32_t size) {
    Section section;
    if (Descriptor object = CreateSharedObject(name, size); object) {
        section.state = Owned(new State{SharedObject(std::move(object), name)});
    }
    return section;
}

Section Section::Open(const std::string& name) {
    Section section;
    if (Descriptor object = OpenSharedObject(name); object) {
        RemoveSharedObjectName(name, object);
        section.state = Owned(new State{SharedObject(std::move(object))});
    }
    return section;
}

bool Section::Commit(uint64_t size) {
    uint64_t& committed = state.Get()->committed;
    if (size > committed) {
        if (!AllocateSharedObject(state.Get()->object.descriptor, size)) {
            return false;
        }
        committed = size;
    }
    return true;
}

View Section::Map(uint64_t size) const {
    const Descriptor& object = state.Get()->object.descriptor;
    struct stat attributes {};
    if (fstat(object.Get(), &attributes) != 0) {
        return {};
    }
    const auto available = static_cast<uint64_t>(attributes.st_size);
    const uint64_t length = size == 0 ? available : size;
    if (length > available || length == 0) {
        errno = EINVAL;
        return {};
    }
    size_t mapped = 0;
    void* space = MapWithGuard(length, mapped);
    if (space == MAP_FAILED) {
        return {};
    }
    View view;
    view.state = Owned(new View::State{static_cast<uint8_t*>(space), mapped}, View::State::Close);
    if (mmap(space, length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, object.Get(), 0) == MAP_FAILED) {
        return {};
    }
    return view;
}

}  // namespace Orvane::Platform
