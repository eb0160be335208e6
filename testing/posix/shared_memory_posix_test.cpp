// Only on Linux: the objects of clients in shared memory. Their names, their locks, and the memory that they take.
#include "core/i_orvane.h"
#include "ipc/shared_channel.h"
#include "platform/shared_names.h"
#include "testing/posix/in_child.h"
#include "testing/support/host_fixture.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

namespace Orvane {
namespace {

using namespace Testing;

using SharedMemoryPosix = HostFixture;

TEST_F(SharedMemoryPosix, ReportsThatSharedMemoryIsFull) {
    constexpr size_t kLarge = 4 << 20;
    const std::string noRoom = std::to_string(ENOSPC) + " CreateFileMapping error";
    const pid_t client = Fork([&] {
        const auto limitMemory = [](const char* size) {
            return mount("tmpfs", "/dev/shm", "tmpfs", 0, (std::string("size=") + size).c_str()) == 0;
        };
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            !limitMemory("8k")) {
            _exit(2);
        }
        EXPECT_EQ(Init(Params("echo 4")), noRoom);
        EXPECT_EQ(Names(Platform::ModuleWord()), 0U);

        EXPECT_TRUE(limitMemory("1m"));
        std::vector<char> data(kLarge);
        const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
        EXPECT_EQ(Shown(backend->Init(Params("echo " + std::to_string(kLarge)))), kOk);
        EXPECT_EQ(Shown(backend->SetInputData(0, data.data(), kLarge)), noRoom);
        EXPECT_EQ(Shown(backend->CopyOutputTo(0, data.data(), kLarge)), noRoom);
        EXPECT_EQ(backend->GetTensorData(TensorTypeOutput, 0), nullptr);
        EXPECT_EQ(Shown(backend->SetInputData(0, data.data(), kLarge / 8)), kOk);
        EXPECT_EQ(Shown(backend->Invoke()), kOk);
        EXPECT_EQ(Shown(backend->Init(Params("echo 4;claim 4000000"))), kOk);
        EXPECT_EQ(Shown(backend->CopyOutputTo(0, data.data(), 4)), kHostExit) << "so many bytes have no memory";
        backend->Release();

        EXPECT_EQ(mount("tmpfs", "/proc", "tmpfs", 0, nullptr), 0)
            << "without /proc, shared objects are made in another way";
        EXPECT_EQ(Init(Params("echo 4")), kOk);
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
        interpreter->Release();
        EXPECT_TRUE(limitMemory("8k"));
        EXPECT_EQ(Init(Params("echo 4")), noRoom);
        EXPECT_EQ(Names(Platform::ModuleWord()), 0U);
        _exit(HasFailure() ? 1 : 0);
    });
    const std::string end = End(client);
    if (end == "exit 2") {
        GTEST_SKIP() << "this test limits shared memory, which needs the right to mount";
    }
    EXPECT_EQ(end, "exit 0");
}

// A faulty host process can write any value into an event. A wait that neither ends nor sleeps would use a processor.
TEST_F(SharedMemoryPosix, AnyOtherValueOfAnEventIsASet) {
    const std::string name = "Test_" + std::to_string(Platform::ModuleWord()) + "d_1";
    Platform::Event event = Platform::Event::Create(name);
    const int object = shm_open(("/" + name).c_str(), O_RDWR, 0);
    const uint32_t value = 7;
    EXPECT_EQ(pwrite(object, &value, sizeof value, 0), ssize_t{sizeof value});
    EXPECT_TRUE(event.Wait(0, Platform::Awaited::Result));
    EXPECT_FALSE(event.Wait(0, Platform::Awaited::Result));
    close(object);
}

TEST_F(SharedMemoryPosix, RemovesOnlyTheNamesOfADeadClient) {
    const auto make = [](const std::string& name, mode_t mode) {
        const int object = shm_open(("/" + name).c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
        EXPECT_EQ(close(object), 0) << name;
        return name;
    };
    const std::string number = std::to_string(getpid());
    const std::string lookAlikes[] = {make("Result_" + number + "d_x", 0600),
                                      make("Result_" + number + "d_1.bak", 0600), make("Call_" + number + "_1", 0600),
                                      make("Channel_" + number + "d_1", 0644)};
    SharedChannel living;
    living.Create(4096);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t client = Fork([&] {
        SharedChannel channel;
        channel.Create(4096);
        const uint32_t word = Platform::ModuleWord();
        const uint32_t report[] = {word, static_cast<uint32_t>(Names(word))};
        EXPECT_EQ(write(ends[1], report, sizeof report), ssize_t{sizeof report});
        std::raise(SIGKILL);
    });
    uint32_t report[2] = {};
    EXPECT_EQ(read(ends[0], report, sizeof report), ssize_t{sizeof report});
    const auto [word, names] = report;
    EXPECT_EQ(names, 3U) << "before its death: afterwards the client of any other program removes them";
    siginfo_t dead{};
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(client), &dead, WEXITED | WNOWAIT), 0)
        << "the client is dead, but not reaped";
    SharedChannel next;
    next.Create(4096);
    EXPECT_EQ(Names(word), 0U);
    EXPECT_EQ(Names(Platform::ModuleWord()), 6U);
    EXPECT_EQ(End(client), "signal 9");
    for (const std::string& name : lookAlikes) {
        EXPECT_EQ(shm_unlink(("/" + name).c_str()), 0) << name;
    }
    close(ends[0]);
    close(ends[1]);
}

// Without the lock, another process could watch the folder and lock an object before its maker does.
TEST_F(SharedMemoryPosix, LocksAnObjectBeforeItHasAName) {
    constexpr int kObjects = 3 * 200;
    const std::string word = std::to_string(Platform::ModuleWord());
    const int watch = inotify_init1(IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, "/dev/shm", IN_CREATE), 0);
    const pid_t watcher = Fork([&] {
        alarm(60);
        alignas(inotify_event) char events[4096];
        for (int found = 0; found < kObjects;) {
            const ssize_t size = read(watch, events, sizeof events);
            for (ssize_t at = 0; at < size;) {
                const auto* event = reinterpret_cast<inotify_event*>(events + at);
                at += static_cast<ssize_t>(sizeof *event + event->len);
                const std::string name = event->name;
                if (name.find(word) != std::string::npos) {
                    ++found;
                    const int object = shm_open(("/" + name).c_str(), O_RDONLY, 0);
                    if (object < 0 || flock(object, LOCK_SH | LOCK_NB) == 0) {
                        _exit(1);
                    }
                    close(object);
                }
            }
        }
    });
    SharedChannel channels[kObjects / 3];
    for (SharedChannel& channel : channels) {
        channel.Create(4096);
    }
    EXPECT_EQ(End(watcher), "exit 0") << "each object was locked";
    close(watch);
}

// Two clients over one /dev/shm. Each is process 1 in a separate process namespace, as in two containers.
TEST_F(SharedMemoryPosix, ClientsOfTwoProcessNamespacesDoNotInterfere) {
    constexpr int kNoNamespace = 2;
    const auto startInNamespace = [] {
        return Fork([] {
            if (unshare(CLONE_NEWPID) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWPID) != 0) {
                _exit(kNoNamespace);
            }
            InChild([] {
                EXPECT_EQ(getpid(), 1);
                for (int start = 0; start < 40; ++start) {
                    Interpreter own;
                    EXPECT_EQ(Shown(own.Init(Params("echo 4096"))), kOk) << start;
                    EXPECT_EQ(RoundTrips(own, 0, 5), kOk) << start;
                }
            });
            _exit(HasFailure() ? 1 : 0);
        });
    };
    const pid_t one = startInNamespace();
    const pid_t other = startInNamespace();
    const std::string ends = End(one) + ", " + End(other);
    if (ends == "exit 2, exit 2") {
        GTEST_SKIP() << "this user has no right to make a process namespace";
    }
    EXPECT_EQ(ends, "exit 0, exit 0");
}

}  // namespace
}  // namespace Orvane
