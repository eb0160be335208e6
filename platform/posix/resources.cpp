#include "platform/resources.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>

namespace Orvane::Platform {

namespace {

constexpr auto kWholeLine = std::numeric_limits<std::streamsize>::max();
constexpr uint64_t kBytesInUnit = 1024;

// Also empty for a process that has ended but was not reaped, because it has no memory.
std::optional<MemoryUse> MemoryUseOf(const std::string& process) {
    std::ifstream status("/proc/" + process + "/status");
    MemoryUse use{};
    for (std::string key; status >> key; status.ignore(kWholeLine, '\n')) {
        if (key == "VmRSS:") {
            status >> use.resident;
        } else if (key == "VmHWM:") {
            status >> use.peak;
        }
    }
    return use.resident != 0 ? std::optional(MemoryUse{use.resident * kBytesInUnit, use.peak * kBytesInUnit})
                             : std::nullopt;
}

// Each thread lists the children that it created, the newest last.
std::optional<std::string> LastChild() {
    std::optional<std::string> last;
    std::error_code ignored;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", ignored)) {
        std::ifstream children(thread.path() / "children");
        for (std::string child; children >> child;) {
            if (MemoryUseOf(child)) {
                last = child;
            }
        }
    }
    return last;
}

// In ticks of the system: words 12 and 13 after the name. The name may contain blanks and brackets.
double TicksOf(const std::string& process) {
    std::ifstream stat("/proc/" + process + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return user + system;
}

// The text after `key` in the first line that begins with it, without blanks and quotes around it. Empty without such a
// line.
std::string ValueOf(const char* file, const std::string& key) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(key)) {
            const std::size_t begin = line.find_first_not_of(" \t:=\"", key.size());
            const std::size_t end = line.find_last_not_of(" \"") + 1;
            return begin < end ? line.substr(begin, end - begin) : "";
        }
    }
    return "";
}

}  // namespace

std::optional<MemoryUse> OwnMemoryUse() {
    return MemoryUseOf("self");
}

std::optional<MemoryUse> ChildMemoryUse() {
    const std::optional<std::string> child = LastChild();
    return child ? MemoryUseOf(*child) : std::nullopt;
}

Machine DescribeMachine() {
    uint64_t memory = 0;
    std::istringstream(ValueOf("/proc/meminfo", "MemTotal")) >> memory;
    utsname kernel{};
    uname(&kernel);
    return {ValueOf("/proc/cpuinfo", "model name"), std::thread::hardware_concurrency(), memory * kBytesInUnit,
            ValueOf("/etc/os-release", "PRETTY_NAME") + ", kernel " + kernel.release};
}

// The first line of /proc/stat: user, nice, system, idle, iowait, irq, softirq, steal.
std::optional<ProcessorTime> ProcessorTimeSoFar() {
    std::ifstream stat("/proc/stat");
    std::string key;
    std::array<double, 8> ticks{};
    stat >> key;
    double whole = 0;
    for (double& field : ticks) {
        stat >> field;
        whole += field;
    }
    if (!stat) {
        return std::nullopt;
    }
    const std::optional<std::string> child = LastChild();
    const double own = TicksOf("self") + (child ? TicksOf(*child) : 0);
    const auto second = static_cast<double>(sysconf(_SC_CLK_TCK));
    return ProcessorTime{whole / second, (whole - ticks[3] - ticks[4] - ticks[7]) / second, own / second,
                         ticks[7] / second};
}

}  // namespace Orvane::Platform
