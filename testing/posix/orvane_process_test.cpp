// The command line in a separate process: Ctrl-C, and what a terminal shows while a model loads.
#include "platform/posix/descriptor.h"
#include "platform/process.h"
#include "testing/posix/processes.h"
#include "testing/support/processes.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace Orvane::Testing {
namespace {

using namespace std::chrono_literals;

bool Catches(pid_t process, int signal) {
    const std::string caught = InStatus(static_cast<uint32_t>(process), "SigCgt");
    return !caught.empty() && (std::stoull(caught, nullptr, 16) >> (signal - 1) & 1) != 0;
}

std::chrono::nanoseconds ProcessorTime(pid_t process) {
    clockid_t clock{};
    timespec time{};
    EXPECT_TRUE(clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &time) == 0);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

class OrvaneProcess : public testing::Test {
 protected:
    // Starts it as a shell does, in a separate process group, with its output or its errors in a file.
    static pid_t Start(std::vector<std::string> arguments, int stream, const std::string& file) {
        return Fork([&] {
            setpgid(0, 0);
            dup2(open(file.c_str(), O_CREAT | O_WRONLY | O_NOCTTY, 0600), stream);
            std::string program = Platform::ProgramBeside("orvane");
            std::vector<char*> words = {program.data()};
            for (std::string& argument : arguments) {
                words.push_back(argument.data());
            }
            words.push_back(nullptr);
            execv(program.c_str(), words.data());
        });
    }

    pid_t StartBench(const std::string& warmup) {
        return Start({"bench", model, "--remote", "--warmup", warmup, "--seconds", "90", "--json", json}, STDOUT_FILENO,
                     printed);
    }

    // The errors of `orvane info` for a model that never loads. It writes them to `file`, and this reads them from
    // `reader`.
    static std::string ErrorsOfALoad(const std::string& file, const Platform::Descriptor& reader) {
        const std::string host = Platform::ProgramBeside("stub_host");
        EXPECT_EQ(End(Start({"info", "hang", "--host", host, "--cache", host, "--timeout", "3"}, STDERR_FILENO, file)),
                  "exit 1");
        std::string text;
        char piece[4096];
        for (ssize_t count = 0; (count = read(reader.Get(), piece, sizeof piece)) > 0;) {
            text.append(piece, static_cast<size_t>(count));
        }
        return text;
    }

    Watchdog watchdog;
    TemporaryFolder folder;
    std::string model = AddModel({1, 2}).WriteTo(folder, "add");
    std::string printed = folder.Path("printed");
    std::string json = folder.Path("结果.json");
};

TEST_F(OrvaneProcess, CtrlCPrintsTheResultsSoFar) {
    const pid_t bench = StartBench("5");
    ASSERT_TRUE(Within(60s, [bench] { return Catches(bench, SIGINT); }));
    ASSERT_EQ(kill(-bench, SIGINT), 0);
    EXPECT_EQ(End(bench), "exit 0");
    EXPECT_NE(ReadBytes(printed).find(" until Ctrl-C, "), std::string::npos) << ReadBytes(printed);
    EXPECT_NE(ReadBytes(json).find("\"interrupted\":true"), std::string::npos) << ReadBytes(json);
    EXPECT_EQ(folder.Names().size(), 4U) << "the model's two files, the results and the output";
}

TEST_F(OrvaneProcess, PrintsTheResultsSoFarWhenTheHostEnds) {
    const pid_t bench = StartBench("5");
    ASSERT_TRUE(Within(60s, [bench] { return Catches(bench, SIGINT); }));
    const auto host = static_cast<pid_t>(Children(static_cast<uint32_t>(bench)).at(0));
    const std::chrono::nanoseconds before = ProcessorTime(host);
    ASSERT_TRUE(Within(60s, [&] { return ProcessorTime(host) > before + 20ms; })) << "it does some inferences";
    ASSERT_EQ(kill(host, SIGKILL), 0);
    EXPECT_EQ(End(bench), "exit 1");
    EXPECT_NE(ReadBytes(printed).find(" until the host process ended, "), std::string::npos) << ReadBytes(printed);
    EXPECT_NE(ReadBytes(json).find("\"interrupted\":true"), std::string::npos) << ReadBytes(json);
}

TEST_F(OrvaneProcess, CtrlCBeforeTheMeasurementPrintsNothing) {
    const pid_t bench = StartBench("4000000000");
    const auto children = [bench] { return Children(static_cast<uint32_t>(bench)); };
    ASSERT_TRUE(Within(60s, [&] { return !children().empty(); }));
    const Process host(children().at(0));
    ASSERT_EQ(kill(-bench, SIGINT), 0);
    EXPECT_EQ(End(bench), "signal 2");
    EXPECT_FALSE(host.Lives(kPatience)) << "the host ends too";
    EXPECT_EQ(folder.Names().size(), 3U);
    EXPECT_EQ(ReadBytes(printed), "");
}

TEST_F(OrvaneProcess, ShowsAndErasesProgressOnATerminal) {
    const Platform::Descriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK));
    char name[64];
    ASSERT_TRUE(terminal && grantpt(terminal.Get()) == 0 && unlockpt(terminal.Get()) == 0 &&
                ptsname_r(terminal.Get(), name, sizeof name) == 0);
    const winsize size{24, 48, 0, 0};
    ASSERT_EQ(ioctl(terminal.Get(), TIOCSWINSZ, &size), 0);
    const std::string text = ErrorsOfALoad(name, terminal);
    EXPECT_NE(text.find("\rthe host process is loading "), std::string::npos) << text;
    const size_t message = text.find("orvane: the host process ended");
    ASSERT_NE(message, std::string::npos) << text;
    EXPECT_EQ(text.substr(message - 3, 3), "  \r") << "blanks erase the line";
    std::istringstream lines(text.substr(0, message));
    for (std::string line; std::getline(lines, line, '\r');) {
        EXPECT_LT(line.size(), size.ws_col) << line;
    }
}

TEST_F(OrvaneProcess, ShowsNoProgressWithoutATerminal) {
    const std::string file = folder.Write("errors", "");
    const std::string text = ErrorsOfALoad(file, Platform::Descriptor(open(file.c_str(), O_RDONLY)));
    EXPECT_EQ(text.rfind("orvane: the host process ended", 0), 0U) << text;
}

TEST_F(OrvaneProcess, WritesAModelWithItsWeightsOrNotAtAll) {
    const std::string large = AddModel(std::vector<float>(40'000)).WriteTo(folder, "large");
    const std::string disk = folder.Path("disk");
    const std::string out = disk + "/out.xml";
    const std::string errors = folder.Path("errors");
    std::filesystem::create_directory(disk);
    const auto fails = [&](const std::string& source, const std::string& shape, int reason) {
        EXPECT_EQ(End(Start({"reshape", source, out, "--shape", shape}, STDERR_FILENO, errors)), "exit 1");
        EXPECT_EQ(ReadBytes(errors).substr(0, ReadBytes(errors).find('\n')),
                  "orvane: cannot write " + out + ": " + std::system_category().message(reason));
        EXPECT_EQ(ReadBytes(out) + ReadBytes(disk + "/out.bin"), "old description, old weights");
        EXPECT_EQ(Entries(disk), 2U);
        std::filesystem::remove(errors);
    };
    const pid_t user = Fork([&] {  // with a disk that only this process sees
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=100k") != 0) {
            _exit(2);
        }
        folder.Write("disk/out.xml", "old description, ");
        folder.Write("disk/out.bin", "old weights");
        fails(large, "0=1,40000", ENOSPC);
        EXPECT_EQ(mount(out.c_str(), out.c_str(), nullptr, MS_BIND, nullptr), 0);
        fails(model, "0=1,2", EBUSY);
        EXPECT_EQ(umount(out.c_str()), 0);
        EXPECT_EQ(mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
        fails(model, "0=1,2", EROFS);
        _exit(HasFailure() ? 1 : 0);
    });
    const std::string end = End(user);
    if (end == "exit 2") {
        GTEST_SKIP() << "this test fills a disk, which needs the right to mount";
    }
    EXPECT_EQ(end, "exit 0");
}

}  // namespace
}  // namespace Orvane::Testing
