// `orvane bench` in a process of its own, in a terminal's process group, and Ctrl-C.
#include "platform/process.h"
#include "testing/posix/processes.h"
#include "testing/support/processes.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

namespace Orvane::Testing {
namespace {

using namespace std::chrono_literals;

bool Catches(pid_t process, int signal) {
    const std::string caught = InStatus(static_cast<uint32_t>(process), "SigCgt");
    return !caught.empty() && (std::stoull(caught, nullptr, 16) >> (signal - 1) & 1) != 0;
}

class BenchInterrupt : public testing::Test {
 protected:
    // Starts `orvane bench` through a host, as a shell does it: in a process group of its own.
    pid_t StartBench(const char* warmup) {
        return Fork([this, warmup] {
            setpgid(0, 0);
            const int out = open(printed.c_str(), O_CREAT | O_WRONLY, 0600);
            dup2(out, STDOUT_FILENO);
            const std::string program = Platform::ProgramBeside("orvane");
            execl(program.c_str(), program.c_str(), "bench", model.c_str(), "--remote", "--warmup", warmup, "--seconds",
                  "90", "--json", json.c_str(), nullptr);
        });
    }

    Watchdog watchdog;
    TemporaryFolder folder;
    std::string model = AddModel({1, 2}).WriteTo(folder, "add");
    std::string printed = folder.Path("printed");
    std::string json = folder.Path("结果.json");
};

TEST_F(BenchInterrupt, EndsTheMeasurementWithTheResultsSoFar) {
    const pid_t bench = StartBench("5");
    ASSERT_TRUE(Within(60s, [bench] { return Catches(bench, SIGINT); }));
    ASSERT_EQ(kill(-bench, SIGINT), 0);
    EXPECT_EQ(End(bench), "exit 0");
    EXPECT_NE(ReadBytes(printed).find(" until Ctrl-C, "), std::string::npos) << ReadBytes(printed);
    EXPECT_NE(ReadBytes(json).find("\"interrupted\":true"), std::string::npos) << ReadBytes(json);
    EXPECT_EQ(folder.Names().size(), 4U) << "the model's two files, and nothing beside the results";
}

TEST_F(BenchInterrupt, BeforeItMeasuresThereIsNothingToKeep) {
    const pid_t bench = StartBench("4000000000");
    const auto children = [bench] { return Children(static_cast<uint32_t>(bench)); };
    ASSERT_TRUE(Within(60s, [&] { return !children().empty(); }));
    const Process host(children().at(0));
    ASSERT_EQ(kill(-bench, SIGINT), 0);
    EXPECT_EQ(End(bench), "signal 2");
    EXPECT_FALSE(host.Lives(10s)) << "the host goes with it";
    EXPECT_EQ(folder.Names().size(), 3U);
    EXPECT_EQ(ReadBytes(printed), "");
}

}  // namespace
}  // namespace Orvane::Testing
