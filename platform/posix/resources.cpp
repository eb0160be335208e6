#include "platform/resources.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <system_error>

namespace Orvane::Platform {

namespace {

// Empty also for a process that has ended and was not reaped: it has no memory any more.
std::optional<MemoryUse> MemoryUseOf(const std::string& process) {
    constexpr uint64_t kBytesInUnit = 1024;
    std::ifstream status("/proc/" + process + "/status");
    MemoryUse use{};
    for (std::string key; status >> key; status.ignore(std::numeric_limits<std::streamsize>::max(), '\n')) {
        if (key == "VmRSS:") {
            status >> use.resident;
        } else if (key == "VmHWM:") {
            status >> use.peak;
        }
    }
    return use.resident != 0 ? std::optional(MemoryUse{use.resident * kBytesInUnit, use.peak * kBytesInUnit})
                             : std::nullopt;
}

}  // namespace

std::optional<MemoryUse> OwnMemoryUse() {
    return MemoryUseOf("self");
}

// Each thread has a list of the children that it made, the last one at its end.
std::optional<MemoryUse> ChildMemoryUse() {
    std::optional<MemoryUse> last;
    std::error_code ignored;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", ignored)) {
        std::ifstream children(thread.path() / "children");
        for (std::string child; children >> child;) {
            if (const auto use = MemoryUseOf(child)) {
                last = use;
            }
        }
    }
    return last;
}

}  // namespace Orvane::Platform
