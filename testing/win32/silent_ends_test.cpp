// A program that ends silently dies without a dialogue in every way there is.
#include "platform/process.h"
#include "testing/support/processes.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

std::string EndOf(const std::string& way) {
    const Testing::Watchdog watchdog;
    return Testing::Process(Platform::ProgramBeside("silent_ends"), way).End();
}

TEST(EndSilently, LetsAProgramDieWithoutADialogue) {
    for (const char* way :
         {"abort", "access-violation", "exception", "exception-in-a-thread", "fail-fast", "pure-call"}) {
        EXPECT_EQ(EndOf(way), "failed fast") << way;
    }
}

TEST(EndSilently, CoversInvalidParameters) {
    const std::string end = EndOf("invalid-parameter");
#ifdef __MINGW32__
    if (end == "1") {
        GTEST_SKIP() << "over msvcrt.dll MinGW keeps the handler for itself, and the functions return an error";
    }
#endif
    EXPECT_EQ(end, "failed fast");
}

}  // namespace
}  // namespace Orvane
