#include "platform/section.h"

#include "platform/posix/shared_object.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

namespace Orvane::Platform {

struct View::State {
    uint8_t* base;
    size_t reserved;  // bytes of address space that go with it
};

struct Section::State {
    Descriptor object;
    std::string name;  // to be removed at the end; empty on the side that opened
    uint64_t committed = 0;
};

namespace {

// Address space behind a view in which nothing is mapped: the offsets in a message have 32 bits, so that one which
// passes the end of the view faults at once instead of reaching something else.
constexpr size_t kGuard = (size_t{1} << 32) + (size_t{1} << 16);

bool IsAlive(pid_t process) {
    return kill(process, 0) == 0 || errno != ESRCH;
}

// The process whose number stands in PREFIX_%ud_%d; none for another name.
std::optional<pid_t> OwnerOf(const std::string& name, const std::string& prefix) {
    const std::string start = prefix + "_";
    if (name.rfind(start, 0) != 0) {
        return std::nullopt;
    }
    pid_t owner = 0;
    const char* const end = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data() + start.size(), end, owner);
    const bool isOurs =
        error == std::errc() && std::string_view(rest, static_cast<size_t>(end - rest)).rfind("d_", 0) == 0;
    return isOurs && owner > 0 ? std::optional(owner) : std::nullopt;
}

}  // namespace

void View::Closing::Close(Value view) noexcept {
    munmap(view->base, view->reserved);
    delete view;
}

void Section::Closing::Close(Value section) noexcept {
    if (!section->name.empty()) {
        RemoveSharedObjectName(section->name);
    }
    delete section;
}

uint8_t* View::Data() const {
    return state.Get()->base;
}

Section Section::Create(const std::string& name, uint32_t size) {
    Section section;
    if (Descriptor object = CreateSharedObject(name, size); object) {
        section.state = UniqueHandle<Closing>(new State{std::move(object), name});
    }
    return section;
}

Section Section::Open(const std::string& name) {
    Section section;
    if (Descriptor object = OpenSharedObject(name); object) {
        section.state = UniqueHandle<Closing>(new State{std::move(object), ""});
    }
    return section;
}

bool Section::Commit(uint64_t size) {
    uint64_t& committed = state.Get()->committed;
    if (size > committed) {
        if (!AllocateSharedObject(state.Get()->object, size)) {
            return false;
        }
        committed = size;
    }
    return true;
}

View Section::Map(uint64_t size) const {
    struct stat attributes {};
    if (fstat(state.Get()->object.Get(), &attributes) != 0) {
        return {};
    }
    const auto available = static_cast<uint64_t>(attributes.st_size);
    const uint64_t length = size == 0 ? available : size;
    if (length > available || length == 0) {
        errno = EINVAL;
        return {};
    }
    const size_t reserved = length + kGuard;
    void* space = mmap(nullptr, reserved, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (space == MAP_FAILED) {
        return {};
    }
    View view;
    view.state = UniqueHandle<View::Closing>(new View::State{static_cast<uint8_t*>(space), reserved});
    if (mmap(space, length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, state.Get()->object.Get(), 0) ==
        MAP_FAILED) {
        return {};
    }
    return view;
}

void RemoveAbandoned(const std::string& prefix) {
    std::error_code error;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry("/dev/shm", error); !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        const std::optional<pid_t> owner = OwnerOf(name, prefix);
        if (owner.has_value() && !IsAlive(*owner)) {
            RemoveSharedObjectName(name);
        }
    }
}

uint32_t ModuleWord() {
    return static_cast<uint32_t>(getpid());
}

}  // namespace Orvane::Platform
