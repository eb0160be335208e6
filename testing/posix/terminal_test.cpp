// What a terminal shows while a model loads.
#include "platform/process.h"
#include "testing/posix/processes.h"
#include "testing/support/processes.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace Orvane::Testing {
namespace {

// What `orvane info`, whose model never loads, writes to its standard error, which is this descriptor's other end.
std::string ErrorsThrough(int reader, const char* writer) {
    const pid_t child = Fork([writer] {
        const int error = open(writer, O_WRONLY | O_NOCTTY);
        dup2(error, STDERR_FILENO);
        const std::string program = Platform::ProgramBeside("orvane");
        const std::string host = Platform::ProgramBeside("stub_host");
        execl(program.c_str(), program.c_str(), "info", "hang", "--host", host.c_str(), "--timeout", "1.5", nullptr);
    });
    EXPECT_EQ(End(child), "exit 1");
    std::string text;
    char piece[4096];
    for (ssize_t count = 0; (count = read(reader, piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<size_t>(count));
    }
    close(reader);
    return text;
}

TEST(Terminal, ShowsWhatALoadIsAtAndLeavesNoLineBehind) {
    const Watchdog watchdog;
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    char name[64];
    ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0 &&
                ptsname_r(terminal, name, sizeof name) == 0);
    const std::string text = ErrorsThrough(terminal, name);
    EXPECT_NE(text.find("\rthe host is loading hang  "), std::string::npos) << text;
    const size_t message = text.find("orvane: Orvane Host Exit");
    ASSERT_NE(message, std::string::npos) << text;
    EXPECT_EQ(text.substr(message - 3, 3), "  \r") << "blanks over the line, and back";
}

TEST(Terminal, WithoutOneThereIsNothingButTheMessage) {
    const Watchdog watchdog;
    const TemporaryFolder folder;
    const std::string file = folder.Write("errors", "");
    const std::string text = ErrorsThrough(open(file.c_str(), O_RDONLY), file.c_str());
    EXPECT_EQ(text.rfind("orvane: Orvane Host Exit", 0), 0U) << text;
}

}  // namespace
}  // namespace Orvane::Testing
