#include "testing/support/processes.h"

#include "host/posix_call_filter.h"
#include "platform/posix/descriptor.h"
#include "platform/section.h"
#include "platform/shared_names.h"
#include "testing/posix/processes.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Orvane::Testing {

size_t Entries(const std::string& folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

size_t Names(uint32_t moduleWord) {
    const std::string word = std::string("_").append(std::to_string(moduleWord)).append("d_");
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
        count += entry.path().filename().string().find(word) != std::string::npos ? 1 : 0;
    }
    return count;
}

pid_t Fork(const std::function<void()>& work) noexcept {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        work();
        _exit(0);
    }
    return child;
}

std::string End(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        return "no such child";
    }
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

std::string InStatus(uint32_t process, const std::string& key) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string line;
    while (std::getline(status, line) && !line.starts_with(key + ":\t")) {
    }
    return status ? line.substr(key.size() + 2) : "";
}

namespace {

// With sanitizers only the shared mappings: their heap adds private mappings while the program runs.
size_t Mappings() {
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        const bool isShared = line.at(line.find(' ') + 4) == 's';  // "7f1000-7f2000 rw-s ..."
        count += !kInstrumented || isShared ? 1 : 0;
    }
    return count;
}

}  // namespace

struct Process::State {
    State(pid_t processNumber, bool startedHere) : number(processNumber), started(startedHere) {
        if (!descriptor) {
            throw std::runtime_error("no process " + std::to_string(number));
        }
    }
    ~State() {
        if (started) {
            Kill();
            Testing::End(number);
        }
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void Kill() const { syscall(SYS_pidfd_send_signal, descriptor.Get(), SIGKILL, nullptr, 0); }

    pid_t number;
    bool started;  // here, and not waited for yet
    Platform::Descriptor descriptor{static_cast<int>(syscall(SYS_pidfd_open, number, 0))};
};

Process::Process(uint32_t number) : state(std::make_shared<State>(static_cast<pid_t>(number), false)) {}

Process::Process(const std::string& program, const std::string& argument)
    : state(std::make_shared<State>(Fork([&] { execl(program.c_str(), program.c_str(), argument.c_str(), nullptr); }),
                                    true)) {}

bool Process::Lives(std::chrono::milliseconds time) const {
    pollfd end{state->descriptor.Get(), POLLIN, 0};
    return poll(&end, 1, static_cast<int>(time.count())) == 0;
}

void Process::Kill() const {
    state->Kill();
}

std::string Process::End() const {
    if (Lives(kPatience)) {
        Kill();
        throw std::runtime_error("a process does not end");
    }
    if (!state->started) {
        return "ended";
    }
    state->started = false;
    const std::string end = Testing::End(state->number);
    return end == "signal 6"   ? "failed fast"
           : end == "signal 9" ? "killed"
           : end == "exit 255" ? "-1"
                               : end.substr(end.find(' ') + 1);
}

uint32_t Process::Number() const {
    return static_cast<uint32_t>(state->number);
}

std::vector<uint32_t> Children(uint32_t parent) {
    const std::string process = parent == 0 ? "self" : std::to_string(parent);
    std::vector<uint32_t> children;
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task", error)) {
        std::ifstream file(thread.path() / "children");
        children.insert(children.end(), std::istream_iterator<uint32_t>(file), {});
    }
    return children;
}

std::string LeftBehind() {
    if (!Within(kPatience, [] { return Children().empty(); })) {
        for (const uint32_t child : Children()) {
            Process(child).Kill();
        }
        return "children";
    }
    return Names(Platform::ModuleWord()) == 0 ? "" : "names";
}

// After a client's death its hosts have another parent, but their arguments still contain its names.
std::string LeftBehindBy(uint32_t /*client*/, uint32_t moduleWord) {
    const std::string word = std::string("_").append(std::to_string(moduleWord)).append("d_");
    const auto hasHosts = [&word] {
        std::error_code error;
        for (const auto& process : std::filesystem::directory_iterator("/proc", error)) {
            std::ifstream file(process.path() / "cmdline");
            std::string arguments;
            std::getline(file, arguments);  // empty if the process has just ended
            if (arguments.find(word) != std::string::npos) {
                return true;
            }
        }
        return false;
    };
    const auto hasNothing = [&] {
        Platform::RemoveAbandoned({"Result", "Call", "Channel"});
        return Names(moduleWord) == 0 && !hasHosts();
    };
    return Within(kPatience, hasNothing) ? "" : hasHosts() ? "hosts" : "names";
}

std::string WhyNotKilledAtStart() {
    return "";
}

std::vector<size_t> Footprint() {
    return {Entries("/proc/self/fd"), Mappings(), Entries("/proc/self/task"), Names(Platform::ModuleWord())};
}

void SetTemporaryFolder(const std::string& folder) {
    setenv("TMPDIR", folder.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread reads it now
}

Watchdog::Watchdog() {
    alarm(240);
}

Watchdog::~Watchdog() {
    alarm(0);
}

}  // namespace Orvane::Testing
