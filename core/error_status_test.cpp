#include "core/error_status.h"

#include <orvane/log.h>
#include <orvane/version.h>

#include "core/system_exception.h"
#include "platform/path.h"
#include "testing/captured_log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane {
namespace {

using Lines = std::vector<std::pair<uint32_t, std::string>>;

TEST(ErrorStatus, IsLoggedBeforeItsMessageIsExamined) {
    Testing::CapturedLog log;
    const Status named = MakeErrorStatus("不支持此操作", -1);
    EXPECT_EQ(named.message, "不支持此操作");
    EXPECT_EQ(named.code, -1);
    const Status nameless = MakeErrorStatus("", 5);
    EXPECT_EQ(nameless.message, "Unknown Error");
    EXPECT_EQ(nameless.code, 5);
    EXPECT_EQ(log.Take(), (Lines{{6, "[ORVANE]:error=不支持此操作, status=-1"}, {6, "[ORVANE]:error=, status=5"}}));

    const Status success = MakeSuccessStatus();
    EXPECT_TRUE(success.Ok());
    EXPECT_EQ(success.code, 0);
    EXPECT_FALSE((Status{"message with code 0", 0}).Ok());
    EXPECT_EQ(log.Take(), Lines{});
}

TEST(Log, FormatsFiltersAndDrops) {
    EXPECT_EQ(Log(6, "nobody listens %d", 1), 0);
    Testing::CapturedLog log;
    const std::string longText(10'000, 'x');
    EXPECT_EQ(Log(3, "%s %d%%", longText.c_str(), -7), 0);
    SetLogLevel(4);
    EXPECT_EQ(Log(3, "below"), 0);
    EXPECT_EQ(Log(4, "at"), 0);
    SetLogLevel(0);
    EXPECT_EQ(log.Take(), (Lines{{3, longText + " -7%"}, {4, "at"}}));

    // A wide character that the "C" locale cannot express makes formatting fail.
    EXPECT_EQ(Log(6, "%ls", L"\u4e2d"), -1);
    EXPECT_EQ(log.Take(), Lines{});
}

TEST(Log, ThreadsLogWhileTheCallbackChanges) {
    static std::atomic<int> received;
    received = 0;
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&stop] {
            while (!stop) {
                Log(6, "line %d", 1);
            }
        });
    }
    while (received < 100) {
        SetLogCallback([](uint32_t, const char* text) { received += std::string(text) == "line 1" ? 1 : -1000; });
        SetLogLevel(7);
        SetLogCallback(nullptr);
        SetLogLevel(0);
        SetLogCallback([](uint32_t, const char*) { ++received; });
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    SetLogCallback(nullptr);
    EXPECT_GE(received, 100);
}

TEST(SystemException, CarriesTheErrorOfTheCallBefore) {
    ASSERT_TRUE(Platform::IsMissing(Platform::PathFromUtf8("no such file")));
    try {
        ThrowSystemError("CreateEvent result error ");
    } catch (const SystemException& thrown) {
        ASSERT_FALSE(Platform::IsMissing(Platform::PathFromUtf8(".")));
        const SystemException copy = thrown;  // NOLINT(performance-unnecessary-copy-initialization): what is tested
        EXPECT_STREQ(copy.what(), "CreateEvent result error ");
        EXPECT_EQ(copy.Code(), 2U) << "file not found has this number on both systems";
    }
}

TEST(Version, FunctionAndMacrosAgree) {
    const std::string text = std::to_string(ORVANE_VERSION / 10000) + "." + std::to_string(ORVANE_VERSION / 100 % 100) +
                             "." + std::to_string(ORVANE_VERSION % 100);
    EXPECT_EQ(Version(), text);
}

}  // namespace
}  // namespace Orvane
