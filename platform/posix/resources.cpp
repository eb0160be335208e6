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

// Empty also for a process that has ended and was not reaped: it has no memory any more.
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

// Each thread has a list of the children that it made, the last one at its end.
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

// In the system's ticks: the twelfth and thirteenth word behind the name, which may itself hold blanks and brackets.
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

// What a file says behind `key` in the first line that begins with it, without blanks and quotes around.
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

// The first line of /proc/stat: user, nice, system, idle, waiting for a disk, two kinds of interrupts, stolen.
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
