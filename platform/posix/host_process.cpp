#include "platform/host_process.h"

#include "platform/posix/blocked_signals.h"
#include "platform/posix/shared_object.h"

#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

// `clone` by the library's other name for it: the thread sanitizer replaces the first by a function that cannot share
// memory.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...) noexcept;

namespace Orvane::Platform {

namespace {

void WaitForEnd(const Descriptor& process) {
    pollfd end{process.Get(), POLLIN, 0};
    while (poll(&end, 1, -1) < 0 && errno == EINTR) {
    }
}

// Takes the dead process off the client's list of children. The client may have done so itself, by a wait for any
// child or by ignoring their ends.
void Reap(const Descriptor& process) {
    siginfo_t information{};
    while (waitid(P_PIDFD, static_cast<id_t>(process.Get()), &information, WEXITED) < 0 && errno == EINTR) {
    }
}

// The command line has a buffer of 1,048 characters, the last of them zero.
constexpr size_t kCommandLineLength = 1'047;
constexpr size_t kQuotesAndBlank = 3;

// What the new process needs until the program starts. It still shares its creator's memory then, and leaves here
// why the program could not be started.
struct Start {
    const char* program;
    const char* arguments;
    pid_t client;
    int error;
};

// Runs in the new process. Bare system calls where a library's function would touch the client's memory.
int RunProgram(void* argument) {
    auto* start = static_cast<Start*>(argument);
    // The signal comes when the thread that created this process ends, and so whenever the client does. A client
    // that was gone before the request would never send it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == start->client) {
        setpgid(0, 0);  // a Ctrl-C in the terminal is the client's business
        close_range(STDERR_FILENO + 1, UINT_MAX, 0);
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

// Returns a descriptor of the new process; none, with `errno`, when the program could not be started.
// The calling thread takes no signals: no handler of the client's may run in a process that shares its memory.
Descriptor CreateProcess(const std::string& program, const std::string& arguments) {
    Start start{program.c_str(), arguments.c_str(), getpid(), 0};
    std::vector<char> stack(size_t{64} * 1024);
    int descriptor = -1;
    const int created = __clone(RunProgram, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD,
                                &start, &descriptor);
    const int error = created < 0 ? errno : start.error;
    Descriptor process(created < 0 ? -1 : descriptor);
    if (error == 0) {
        return process;
    }
    if (process) {
        Reap(process);
    }
    errno = error;
    return {};
}

}  // namespace

// A thread of its own creates the process and waits for its end: the request to die with the creator hangs on the
// creating thread, and this one lives exactly as long as the process, whatever becomes of the client's threads.
// The process is known by a descriptor and not by its number, which another one could have by then.
struct HostProcess::State {
    bool Launch(const std::string& program, const std::string& arguments) {
        std::promise<int> started;
        std::future<int> error = started.get_future();
        try {
            const BlockedSignals inKeeper;
            keeper = std::thread([this, &program, &arguments, result = std::move(started)]() mutable {
                process = CreateProcess(program, arguments);
                alive = static_cast<bool>(process);
                result.set_value(process ? 0 : errno);
                if (process) {
                    WaitForEnd(process);
                    alive = false;
                    Reap(process);
                }
            });
        } catch (const std::system_error& failure) {  // the system has no more threads
            errno = failure.code().value();
            return false;
        }
        errno = error.get();
        return errno == 0;
    }

    Descriptor process;  // written by the keeper before `Launch` returns
    std::atomic<bool> alive{false};
    std::thread keeper;
};

void HostProcess::Closing::Close(Value process) noexcept {
    if (process->process) {
        syscall(SYS_pidfd_send_signal, process->process.Get(), SIGKILL, nullptr, 0);
    }
    if (process->keeper.joinable()) {
        process->keeper.join();
    }
    delete process;
}

std::optional<LaunchStep> HostProcess::Launch(const std::string& program, const std::string& arguments) {
    if (program.size() + arguments.size() + kQuotesAndBlank > kCommandLineLength) {
        errno = ENAMETOOLONG;
        return LaunchStep::StartProgram;
    }
    UniqueHandle<Closing> launched(new State);
    if (!launched.Get()->Launch(program, arguments)) {
        return LaunchStep::StartProgram;
    }
    state = std::move(launched);
    return std::nullopt;
}

bool HostProcess::IsAlive() const {
    return state.Get()->alive;
}

void HostProcess::Close() {
    state.Close();
}

}  // namespace Orvane::Platform
