#include "cli/report/bench_report.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

namespace Orvane::Cli {
namespace {

// A percentile P is the smallest measurement that at least P % of the measurements do not exceed.
TEST(BenchReportTest, PrintsEveryFigure) {
    BenchReport report;
    report.host = "host";
    report.initialisation = 1.5;
    report.firstInference = {1, 2, 3};
    report.interrupted = true;
    report.ownMemory = {12'300'000, 45'600'000};
    for (int i = 1001; i > 0; --i) {
        report.inferences.push_back({1.0 * i, 2.0 * i, 0.5 * i});
    }
    std::ostringstream text;
    PrintBenchReport(text, report);
    EXPECT_EQ(text.str(), R"(host process start  unknown
initialisation      1.500 ms
first inference     6.000 ms

1001 inferences until Ctrl-C, 0.6 per second
ms         min     p50        p90        p99        p99.9      max        mean
inference  3.5000  1753.5000  3153.5000  3468.5000  3500.0000  3503.5000  1753.5000
copy in    1.0000  501.0000   901.0000   991.0000   1000.0000  1001.0000  501.0000
compute    2.0000  1002.0000  1802.0000  1982.0000  2000.0000  2002.0000  1002.0000
copy out   0.5000  250.5000   450.5000   495.5000   500.0000   500.5000   250.5000

memory        now      peak
orvane        12.3 MB  45.6 MB
host process  unknown  unknown
)");
    const Json steady = BenchReportJson(report).at("steady_state");
    EXPECT_EQ(steady.at("copy_out_ms"), Json::parse(R"(
        {"min": 0.5, "p50": 250.5, "p90": 450.5, "p99": 495.5, "p99_9": 500.0, "max": 500.5, "mean": 250.5})"));
    const Json& quantiles = steady.at("inference_ms").at("quantiles");
    EXPECT_EQ(quantiles.size(), 199U);
    EXPECT_EQ((Json{quantiles.at(0), quantiles.at(99), quantiles.at(198)}), (Json{21.0, 1753.5, 3486.0}));
}

TEST(BenchReportTest, SaysWhenOtherProgramsRan) {
    const Platform::ProcessorTime start{100, 50, 10, 1};
    EXPECT_FALSE(OtherWorkBetween(start, {100.4, 50.4, 10.1, 1})) << "too short to measure";
    const auto quiet = OtherWorkBetween(start, {120, 61, 20.5, 2});
    ASSERT_TRUE(quiet);
    EXPECT_EQ((std::pair{quiet->others, quiet->stolen}), (std::pair{0.025, 0.05}));
    EXPECT_FALSE(quiet->IsMuch());
    EXPECT_EQ(OtherWorkBetween(start, {120, 58, 20, 1})->others, 0) << "counts that do not quite fit each other";

    BenchReport report;
    report.inferences = {{}};
    for (const Platform::ProcessorTime& end : {Platform::ProcessorTime{120, 64, 20, 1}, {120, 60, 20, 5}}) {
        report.otherWork = OtherWorkBetween(start, end);
        std::ostringstream text;
        PrintBenchReport(text, report);
        EXPECT_NE(text.str().find("\nDISTURBED: other programs used "), std::string::npos);
        EXPECT_EQ(BenchReportJson(report).at("machine").at("disturbed"), true);
    }
}

}  // namespace
}  // namespace Orvane::Cli
