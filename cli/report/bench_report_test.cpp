#include "cli/report/bench_report.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace Orvane::Cli {
namespace {

// A percentile is the smallest measurement that enough of them do not exceed.
TEST(BenchReportTest, EveryFigureStandsInItsPlace) {
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
    EXPECT_EQ(text.str(), R"(host launch      unknown
initialisation   1.500 ms
first inference  6.000 ms

1001 inferences until Ctrl-C, 0.6 per second
ms         min     p50        p90        p99        p99.9      max        mean
inference  3.5000  1753.5000  3153.5000  3468.5000  3500.0000  3503.5000  1753.5000
copy in    1.0000  501.0000   901.0000   991.0000   1000.0000  1001.0000  501.0000
compute    2.0000  1002.0000  1802.0000  1982.0000  2000.0000  2002.0000  1002.0000
copy out   0.5000  250.5000   450.5000   495.5000   500.0000   500.5000   250.5000

memory  now      peak
orvane  12.3 MB  45.6 MB
host    unknown  unknown
)");
    std::stringstream object;
    PrintJsonBenchReport(object, report);
    EXPECT_EQ(nlohmann::json::parse(object).at("steady_state").at("copy_out_ms"), nlohmann::json::parse(R"(
        {"min": 0.5, "p50": 250.5, "p90": 450.5, "p99": 495.5, "p99_9": 500, "max": 500.5, "mean": 250.5})"));
}

}  // namespace
}  // namespace Orvane::Cli
