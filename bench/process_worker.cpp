#include <orvane/orvane.h>

#include "core/i_orvane.h"
#include "testing/posix/processes.h"
#include "testing/support/processes.h"

#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// What a host process costs in addition to the time of calls. This program links the SDK without the backend in the
// process, as an application does that only uses host processes.
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr auto kSettle = std::chrono::milliseconds(100);
constexpr auto kObserved = std::chrono::seconds(1);
constexpr uint32_t kStubBytes = 2048;

void Check(const Orvane::Status& status) {
    if (!status.Ok()) {
        throw std::runtime_error(status.message);
    }
}

Orvane::OptionHandle Options(const std::string& host, const std::string& run) {
    Orvane::OptionHandle options = Orvane::CreateOption();
    options->SetInt(Orvane::OptionCommonFramework, Orvane::FrameworkTypeOpenvino);
    options->SetString(Orvane::OptionCommonModelPath, "share 2048 2048");
    options->SetString(Orvane::OptionCommonModelName, run.c_str());
    options->SetString(Orvane::OptionCommonHost, host.c_str());
    return options;
}

void Infer(Orvane::Interpreter& model) {
    std::vector<char> bytes(kStubBytes);
    Check(model.GetInput()->CopyFrom(bytes.data(), kStubBytes));
    Check(model.Invoke());
    Check(model.GetOutput()->CopyTo(bytes.data(), kStubBytes));
}

// The processor time that a process has used.
nanoseconds ProcessorTime(pid_t process) {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0) {
        throw std::runtime_error("cannot read a process's time");
    }
    return std::chrono::seconds(used.tv_sec) + nanoseconds(used.tv_nsec);
}

// The processor time, in a second, of a host process that waits for its next call.
nanoseconds IdleHost(const std::string& host) {
    Orvane::Interpreter model;
    Check(model.Init(*Options(host, "")));
    Infer(model);
    std::this_thread::sleep_for(kSettle);
    const auto process = static_cast<pid_t>(Orvane::Testing::Children().at(0));
    const nanoseconds before = ProcessorTime(process);
    std::this_thread::sleep_for(kObserved);
    return ProcessorTime(process) - before;
}

// The processor time of a client that waits one second for a run.
nanoseconds WaitingClient(const std::string& host) {
    Orvane::Interpreter model;
    Check(model.Init(*Options(host, "sleep " + std::to_string(std::chrono::milliseconds(kObserved).count()))));
    const nanoseconds before = ProcessorTime(getpid());
    Check(model.Invoke());
    return ProcessorTime(getpid()) - before;
}

// The median time from a wake until a sleeping thread runs. The thread sleeps for `kPause` each time. The waking thread
// keeps another processor busy before the wake, as a host process does that computes. After the wake it waits, because
// on one processor the woken thread would otherwise run a time slice later.
nanoseconds WakeUp() {
    constexpr auto kPause = std::chrono::microseconds(500);
    constexpr int kTimes = 401;
    std::atomic<int> round{0};
    std::atomic<Clock::rep> wokenAt{0};
    std::vector<nanoseconds> times;
    std::thread sleeper([&] {
        for (int last = 0; last < kTimes;) {
            round.wait(last);
            last = round;
            wokenAt = Clock::now().time_since_epoch().count();
            wokenAt.notify_one();
        }
    });
    for (int i = 1; i <= kTimes; ++i) {
        const auto start = Clock::now();
        while (Clock::now() - start < kPause) {
        }
        wokenAt = 0;
        const auto set = Clock::now();
        round = i;
        round.notify_one();
        wokenAt.wait(0);
        times.push_back(Clock::duration(wokenAt) - set.time_since_epoch());
    }
    sleeper.join();
    std::nth_element(times.begin(), times.begin() + kTimes / 2, times.end());
    return times[kTimes / 2];
}

// From the start of a launch to the reply of a first call, which the host process refuses. Uses the backend itself,
// because an interpreter would also end the host process before it returns.
nanoseconds Launch(const std::string& host) {
    Orvane::InterpreterParams params;
    params.framework = Orvane::FrameworkTypeInvalid;
    params.host = host;
    const std::unique_ptr<Orvane::IOrvane> backend = Orvane::CreateRemoteBackend();
    const auto start = Clock::now();
    const Orvane::Status status = backend->Init(params);
    const nanoseconds time = Clock::now() - start;
    if (status.message != "FrameworkType is invalid\n") {
        throw std::runtime_error("the host did not refuse: " + status.message);
    }
    return time;
}

// From the start of a program until it writes a byte.
nanoseconds StartOfProgram(const std::string& program) {
    int said[2];
    if (pipe(said) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, said[1], STDOUT_FILENO);
    char* const words[] = {const_cast<char*>(program.c_str()), nullptr};
    pid_t process = 0;
    char byte = 0;
    const auto start = Clock::now();
    const bool started = posix_spawn(&process, program.c_str(), &actions, nullptr, words, environ) == 0;
    close(said[1]);
    const bool heard = started && read(said[0], &byte, 1) == 1;
    const nanoseconds time = Clock::now() - start;
    close(said[0]);
    posix_spawn_file_actions_destroy(&actions);
    if (!heard || Orvane::Testing::End(process) != "exit 0") {
        throw std::runtime_error("cannot start " + program);
    }
    return time;
}

// Kilobytes of this process in memory, without those of its channel's section.
long ResidentKilobytes() {
    std::ifstream map("/proc/self/smaps");
    bool isChannel = false;
    long sum = 0;
    for (std::string line; std::getline(map, line);) {
        if (line.find(" /dev/shm/Channel_") != std::string::npos) {
            isChannel = true;
        } else if (line.find(':') > line.find('-')) {  // the first line of a mapping: FIRST-LAST ...
            isChannel = false;
        } else if (line.starts_with("Rss:") && !isChannel) {
            sum += std::stol(line.substr(4));
        }
    }
    return sum;
}

long Memory(const std::string& host) {
    Orvane::Interpreter model;
    Check(model.Init(*Options(host, "")));
    Infer(model);
    return ResidentKilobytes();
}

long long Measure(const std::string& what, const std::string& program) {
    if (what == "memory") {
        return Memory(program);
    }
    const nanoseconds time = what == "idle"      ? IdleHost(program)
                             : what == "waiting" ? WaitingClient(program)
                             : what == "wake"    ? WakeUp()
                             : what == "launch"  ? Launch(program)
                             : what == "start"   ? StartOfProgram(program)
                                                 : throw std::invalid_argument("no such measurement: " + what);
    return time.count();
}

}  // namespace

//   process_worker idle|waiting|memory STUB_HOST
//   process_worker wake ANY           the time from a wake until a sleeper runs
//   process_worker launch HOST
//   process_worker start PROGRAM      the time until another program's first statement
//
// Prints one figure: kilobytes for `memory`, nanoseconds for all others.
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s idle|waiting|memory|wake|launch|start PROGRAM\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        std::printf("%lld\n", Measure(argv[1], argv[2]));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
