#include "platform/host_process.h"

#include "platform/posix/blocked_signals.h"
#include "platform/posix/descriptor.h"
#include "platform/process.h"

#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <future>
#include <memory>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

// The C library's other name for `clone`. The thread sanitizer replaces `clone` by a function that cannot share memory.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...) noexcept;

namespace Orvane::Platform {

namespace {

bool HasEnded(const Descriptor& process, int milliseconds) {
    pollfd end{process.Get(), POLLIN, 0};
    int found = 0;
    while ((found = poll(&end, 1, milliseconds)) < 0 && errno == EINTR) {
    }
    return found != 0;  // true if the system cannot report it
}

// Reaps the dead process. Unknown if the client reaped it, by a wait for any child or by ignoring `SIGCHLD`.
ProcessEnd Reap(const Descriptor& process) {
    siginfo_t information{};
    int result = 0;
    while ((result = waitid(P_PIDFD, static_cast<id_t>(process.Get()), &information, WEXITED)) < 0 && errno == EINTR) {
    }
    if (result != 0) {
        return {};
    }
    const auto kind = information.si_code == CLD_EXITED ? ProcessEnd::Kind::ExitValue : ProcessEnd::Kind::Signal;
    return {kind, static_cast<uint32_t>(information.si_status)};
}

// On Windows the command line's buffer has 1,048 characters, with the terminating zero. The limit is the same here.
constexpr size_t kCommandLineLength = 1'047;
constexpr size_t kQuotesAndBlank = 3;

// What the new process needs until its program starts. Until then it shares its creator's memory. If the program cannot
// start, it stores `error` here.
struct Start {
    const char* program;
    const char* arguments;
    pid_t client;
    int error;
};

// Older kernels have no `close_range`. There it closes them one by one.
void CloseAllButTheStandardThree() {
    if (close_range(STDERR_FILENO + 1, UINT_MAX, 0) == 0) {
        return;
    }
    constexpr rlim_t kMostByDefault = 1 << 20;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    for (rlim_t number = STDERR_FILENO + 1; number < std::min(limit.rlim_max, kMostByDefault); ++number) {
        close(static_cast<int>(number));
    }
}

// Runs in the new process. Uses bare system calls where a library function would change the client's memory.
int RunProgram(void* argument) {
    auto* start = static_cast<Start*>(argument);
    // The system sends the signal when the thread that created this process ends, and so also when the client ends. If
    // the client ended before this request, the signal never comes.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == start->client) {
        setsid();  // Ctrl-C reaches only the client, and no terminal can stop this process
        CloseAllButTheStandardThree();
        constexpr size_t kSignalSetSize = 8;
        constexpr int kLastSignal = 64;
        const std::array<uint64_t, 4> defaultAction{};
        for (int signal = 1; signal <= kLastSignal; ++signal) {
            syscall(SYS_rt_sigaction, signal, defaultAction.data(), nullptr, kSignalSetSize);
        }
        const uint64_t noSignal = 0;
        syscall(SYS_rt_sigprocmask, SIG_SETMASK, &noSignal, nullptr, kSignalSetSize);

        char* const words[] = {const_cast<char*>(start->program), const_cast<char*>(start->arguments), nullptr};
        execve(start->program, words, environ);
        start->error = errno;
    }
    syscall(SYS_exit_group, EXIT_FAILURE);
    return EXIT_FAILURE;
}

// What a launch and the thread that keeps the process share.
struct Kept {
    Descriptor process;
    pid_t number = -1;
    std::promise<int> started;  // the error, or 0
    std::promise<ProcessEnd> ended;
};

// Bytes of the new process's stack, until its program starts.
constexpr size_t kStack = size_t{64} * 1024;

// Returns the error, or 0. The caller blocks its signals: no signal handler of the client may run in a process that
// shares its memory.
int CreateProcess(Kept& kept, Start& start, char* stack) {
    int descriptor = -1;
    const int created =
        __clone(RunProgram, stack + kStack, CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD, &start, &descriptor);
    if (created < 0) {
        return errno;
    }
    kept.number = created;
    errno = ENOSYS;  // if the system created no descriptor
    kept.process = OwnDescriptor(descriptor);
    if (!kept.process) {  // without a descriptor, nothing notices the end of the process
        const int error = errno;
        kill(created, SIGKILL);
        waitpid(created, nullptr, 0);
        return error;
    }
    if (start.error != 0) {
        Reap(kept.process);
    }
    return start.error;
}

}  // namespace

// A separate thread, the keeper, creates the process and waits for its end. The system kills the process when the
// thread that created it ends. The keeper lives exactly as long as the process, whatever the client's threads do.
// A descriptor identifies the process, because another process could have its number by then.
struct HostProcess::State {
    bool Launch(const std::string& program, const std::string& arguments) {
        std::future<int> error = kept->started.get_future();
        Start start{program.c_str(), arguments.c_str(), getpid(), 0};
        const std::unique_ptr<char[]> stack(new char[kStack]);  // here, because it can fail
        try {
            const BlockedSignals inKeeper;
            keeper = std::thread([kept = kept, &start, stack = stack.get()] {
                const int failure = CreateProcess(*kept, start, stack);
                kept->started.set_value(failure);
                if (failure == 0) {
                    HasEnded(kept->process, -1);
                    kept->ended.set_value(Reap(kept->process));
                }
            });
        } catch (const std::system_error& failure) {  // the system has no more threads
            errno = failure.code().value();
            return false;
        }
        errno = error.get();
        return errno == 0;
    }

    bool Terminate() const {
        if (!maker.IsThisProcess() || !kept->process || HasEnded(kept->process, 0)) {
            return true;
        }
        // `kill` is for a system, or a filter of system calls, without `pidfd_send_signal`. The number is still valid:
        // the process was alive a moment ago, and the system does not reuse numbers that fast.
        return syscall(SYS_pidfd_send_signal, kept->process.Get(), SIGKILL, nullptr, 0) == 0 ||
               kill(kept->number, SIGKILL) == 0 || HasEnded(kept->process, 0);
    }

    static void Close(State* process) noexcept {
        if (!process->maker.IsThisProcess()) {
            process->kept->process.Close();
            return;  // the rest stays allocated: its thread does not exist here
        }
        if (process->keeper.joinable()) {
            // If the process cannot be killed, the keeper waits for its end.
            process->Terminate() ? process->keeper.join() : process->keeper.detach();
        }
        delete process;
    }

    ProcessMark maker;
    std::shared_ptr<Kept> kept = std::make_shared<Kept>();
    std::shared_future<ProcessEnd> end = kept->ended.get_future().share();
    std::thread keeper;
};

std::optional<LaunchStep> HostProcess::Launch(const std::string& program, const std::string& arguments) {
    if (program.size() + arguments.size() + kQuotesAndBlank > kCommandLineLength) {
        errno = ENAMETOOLONG;
        return LaunchStep::StartProgram;
    }
    try {
        Owned launched(new State, State::Close);
        if (launched.Get()->Launch(program, arguments)) {
            state = std::move(launched);
            return std::nullopt;
        }
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
    }
    return LaunchStep::StartProgram;
}

bool HostProcess::IsAlive() const {
    return state.Get()->maker.IsThisProcess() && !HasEnded(state.Get()->kept->process, 0);
}

ProcessEnd HostProcess::End() const {
    // The keeper notices the end at about the same time.
    const bool known = state.Get()->maker.IsThisProcess() &&
                       state.Get()->end.wait_for(std::chrono::seconds(1)) == std::future_status::ready;
    return known ? state.Get()->end.get() : ProcessEnd();
}

bool HostProcess::Terminate() {
    return !state || state.Get()->Terminate();
}

std::string Describe(const ProcessEnd& end) {
    const std::string value = std::to_string(end.value);
    if (end.kind == ProcessEnd::Kind::ExitValue) {
        return "exit value " + value + (end.value == 127 ? ", a library that it needs was not found" : "");
    }
    if (end.kind != ProcessEnd::Kind::Signal) {
        return "unknown";
    }
    const std::pair<uint32_t, const char*> reasons[] = {
        {SIGILL, ", the processor lacks an instruction that the runtime used"},
        {SIGABRT, ", it aborted, for instance because there was not enough memory"},
        {SIGKILL, ", a user or program killed it, or the system did because memory ran out"},
    };
    const char* name = sigabbrev_np(static_cast<int>(end.value));
    std::string text = "signal " + value + (name != nullptr ? std::string(" (SIG") + name + ")" : "");
    for (const auto& [signal, reason] : reasons) {
        text += signal == end.value ? reason : "";
    }
    return text;
}

}  // namespace Orvane::Platform
