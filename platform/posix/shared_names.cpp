#include "platform/shared_names.h"

#include "platform/posix/shared_object.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string_view>
#include <system_error>

namespace Orvane::Platform {

namespace {

// The process id in the upper half, its module word in the lower half.
std::atomic<uint64_t> moduleWord{0};

uint32_t RandomWord() {
    std::random_device random;
    return static_cast<uint32_t>(random());
}

// Removes a number from the front of the text. False if the text does not begin with a number.
template <typename Number>
bool TakeNumber(std::string_view& text) {
    Number number{};
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<size_t>(rest - text.data()));
    return error == std::errc();
}

// True for exactly PREFIX_%ud_%d.
bool IsNameOfAChannel(std::string_view name, const std::string& prefix) {
    const auto take = [&name](std::string_view part) {
        const bool isThere = name.starts_with(part);
        name.remove_prefix(isThere ? part.size() : 0);
        return isThere;
    };
    return take(prefix) && take("_") && TakeNumber<uint32_t>(name) && take("d_") && TakeNumber<int32_t>(name) &&
           name.empty();
}

// True for an object that this SDK made for this user, if its maker does not hold the lock.
bool IsAbandoned(const Descriptor& object) {
    struct stat attributes {};
    return fstat(object.Get(), &attributes) == 0 && attributes.st_mode == (S_IFREG | S_IRUSR | S_IWUSR) &&
           attributes.st_uid == geteuid() && attributes.st_nlink == 1 && flock(object.Get(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace

uint32_t ModuleWord() {
    const auto process = static_cast<uint32_t>(getpid());
    uint64_t word = moduleWord;
    if (word >> 32 != process) {
        word = uint64_t{process} << 32 | RandomWord();
        moduleWord = word;
    }
    return static_cast<uint32_t>(word);
}

bool RenewModuleWord(uint32_t error) {
    if (error == EEXIST) {
        moduleWord = 0;
    }
    return error == EEXIST;
}

struct NamesLock::State {};

NamesLock::NamesLock() : state(new State) {}

bool IsNameTaken(const std::string& /*name*/) {
    return false;
}

void RemoveAbandoned(const std::vector<std::string>& prefixes) {
    std::error_code error;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry("/dev/shm", error); !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (std::any_of(prefixes.begin(), prefixes.end(),
                        [&name](const std::string& prefix) { return IsNameOfAChannel(name, prefix); })) {
            const Descriptor object =
                OwnDescriptor(open(entry->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
            if (object && IsAbandoned(object)) {
                RemoveSharedObjectName(name, object);
            }
        }
    }
}

}  // namespace Orvane::Platform
