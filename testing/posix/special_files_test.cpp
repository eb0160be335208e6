// The command line reads models and caches from files that are not ordinary files.
#include "cli/captured_run.h"
#include "cli/model/load_hints.h"
#include "platform/whole_file.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane::Cli {
namespace {

class SpecialFiles : public testing::Test {
 protected:
    // A fifo without a writer, a socket without a server, and a device that never ends.
    void SetUp() override {
        ASSERT_EQ(mkfifo(special[0].c_str(), 0600), 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(special[1].size(), sizeof address.sun_path);
        std::strcpy(address.sun_path, special[1].c_str());
        const int socketDescriptor = socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(bind(socketDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        close(socketDescriptor);
    }

    Testing::TemporaryFolder folder;
    std::string special[3] = {folder.Path("fifo"), folder.Path("socket"), "/dev/zero"};
    std::string model = Testing::AddModel({1, 2}).WriteTo(folder, "m");
};

TEST(SystemHints, NameSharedMemoryThatIsFull) {
    const auto hints = [](const char* text, int system) { return SystemHints({orvane::Reason::System, text, system}); };
    ASSERT_EQ(hints("no memory for the data (CreateFileMapping error)", ENOSPC).size(), 1U);
    EXPECT_NE(hints("CreateEvent result error", ENOSPC)[0].find("/dev/shm"), std::string::npos);
    EXPECT_TRUE(hints("CreateFileMapping error", EACCES).empty());
    EXPECT_TRUE(hints("cannot write out.xml", ENOSPC).empty()) << "another disk is full";
}

TEST_F(SpecialFiles, AreRefused) {
    const std::string weights = folder.Path("w.bin");
    ASSERT_EQ(mkfifo(weights.c_str(), 0600), 0);
    const std::string described = folder.Write("w.xml", Testing::AddModel({1, 2}).description);
    const std::string encrypted = folder.Write("w.onnx", "encrypted");
    std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {weights, {"info", described}},
        {weights, {"info", encrypted, "--key", "k3y"}},
    };
    for (const std::string& file : special) {
        for (const std::vector<std::string>& line : {std::vector<std::string>{"info", file},
                                                     {"run", file},
                                                     {"bench", file},
                                                     {"info", file, "--key", "k3y"},
                                                     {"info", file, "--remote"},
                                                     {"info", "--cache", file},
                                                     {"run", model, "--cache", file, "--make-cache"},
                                                     {"run", model, "--cache", file, "--remote"}}) {
            cases.emplace_back(file, line);
        }
    }
    const std::vector<std::string> names = folder.Names();
    for (const auto& [file, line] : cases) {
        const CapturedRun run = RunCaptured(line);
        EXPECT_EQ(run.exitValue, 1) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "orvane: " + file + " is not an ordinary file: models and caches are read from files\n");
    }
    EXPECT_EQ(folder.Names(), names);
}

// The umask belongs to the whole process.
TEST(PrivateFiles, DoNotDependOnTheUmask) {
    const Testing::TemporaryFolder folder;
    const std::string secret = folder.Write("secret", "secret");
    chmod(secret.c_str(), 0600);
    const mode_t before = umask(0027);
    std::vector<std::thread> threads;
    for (const char* name : {"1", "2", "3", "4"}) {
        threads.emplace_back([&, name] {
            for (int i = 0; i < 500; ++i) {
                Platform::TransformFile(secret, folder.Path(name), 1000, [&](std::vector<uint8_t>&) {});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    struct stat attributes {};
    EXPECT_EQ(stat(folder.Path("1").c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 07777, 0600U);
    EXPECT_EQ(umask(before), mode_t{0027});
}

}  // namespace
}  // namespace Orvane::Cli
