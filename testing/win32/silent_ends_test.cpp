// A program that ends silently dies without a dialogue in every way there is.
#include "platform/process.h"
#include "testing/support/processes.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

TEST(EndSilently, LetsAProgramDieWithoutADialogue) {
    for (const std::string way : {"abort", "access-violation", "exception", "exception-in-a-thread", "fail-fast",
                                  "pure-call", "invalid-parameter"}) {
        const Testing::Watchdog watchdog;
        const std::string end = Testing::Process(Platform::ProgramBeside("silent_ends"), way).End();
#ifdef __MINGW32__
        if (way == "invalid-parameter" && end == "1") {
            GTEST_SKIP() << "over msvcrt.dll MinGW keeps the handler for itself, and the functions return an error";
        }
#endif
        EXPECT_EQ(end, "failed fast") << way;
    }
}

}  // namespace
}  // namespace Orvane
