#include "core/errors.h"

#include <orvane/log.h>

#include "core/deferred_log.h"
#include "testing/support/captured_log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

namespace Orvane {
namespace {

using Lines = std::vector<std::pair<uint32_t, std::string>>;

TEST(ErrorStatus, ReplacesAnEmptyMessageAfterLoggingIt) {
    Testing::CapturedLog log;
    const Status nameless = MakeErrorStatus("", 5);
    EXPECT_EQ(nameless.message, "Unknown Error");
    EXPECT_EQ(nameless.code, 5);
    EXPECT_EQ(log.Take(), (Lines{{6, "[ORVANE]:error=, status=5"}}));
}

TEST(Log, FormatsAndFiltersLines) {
    EXPECT_EQ(Log(6, "no callback %d", 1), 0);
    Testing::CapturedLog log;
    const std::string longText(10'000, 'x');
    EXPECT_EQ(Log(3, "%s %d%%", longText.c_str(), -7), 0);
    SetLogLevel(4);
    EXPECT_EQ(Log(3, "below"), 0);
    EXPECT_EQ(Log(4, "at"), 0);
    SetLogLevel(0);
    EXPECT_EQ(log.Take(), (Lines{{3, longText + " -7%"}, {4, "at"}}));

    // The "C" locale cannot express this wide character. MinGW's C library leaves it out instead of failing.
    const bool fails = std::snprintf(nullptr, 0, "%ls", L"\u4e2d") < 0;
    EXPECT_EQ(Log(6, "%ls", L"\u4e2d"), fails ? -1 : 0);
    EXPECT_EQ(log.Take(), fails ? Lines{} : (Lines{{6, ""}}));
}

TEST(Log, DefersLinesToTheEndOfTheOutermostScope) {
    Testing::CapturedLog log;
    {
        const DeferredLog outer;
        Log(6, "first");
        {
            const DeferredLog inner;
            Log(5, "second");
        }
        std::thread([] { Log(6, "of another thread"); }).join();
        EXPECT_EQ(log.Take(), (Lines{{6, "of another thread"}}));
    }
    EXPECT_EQ(log.Take(), (Lines{{6, "first"}, {5, "second"}}));
    Log(6, "third");
    EXPECT_EQ(log.Take(), (Lines{{6, "third"}}));
}

TEST(Log, IsThreadSafeWhileTheCallbackChanges) {
    static std::atomic<int> received{0};
    std::atomic<bool> stop{false};
    std::thread other([&stop] {
        while (!stop) {
            Log(6, "line %d", 1);
        }
    });
    const auto count = [](uint32_t, const char* text) { received += std::string(text) == "line 1" ? 1 : 1'000'000; };
    SetLogCallback(count);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (received == 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_NE(received, 0) << "the other thread has logged no line";
    for (int round = 0; round < 100; ++round) {
        SetLogCallback(count);
        Log(6, "line %d", 1);
        SetLogLevel(7);
        SetLogCallback(nullptr);
        SetLogLevel(0);
    }
    stop = true;
    other.join();
    EXPECT_GE(received, 100);
    EXPECT_LT(received, 1'000'000) << "a line had another text";
}

}  // namespace
}  // namespace Orvane
