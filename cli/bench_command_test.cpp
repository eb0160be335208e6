#include "cli/captured_run.h"
#include "cli/distribution.h"
#include "testing/support/tiny_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>

namespace Orvane::Cli {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::DoubleNear;
using ::testing::HasSubstr;

TEST(DistributionTest, PercentilesAreMeasurementsThatEnoughDoNotExceed) {
    std::vector<double> values(1000);
    std::iota(values.rbegin(), values.rend(), 1.0);
    Distribution of = Distribute(values);
    EXPECT_EQ((std::vector{of.minimum, of.p50, of.p90, of.p99, of.p999, of.maximum, of.mean}),
              (std::vector{1.0, 500.0, 900.0, 990.0, 999.0, 1000.0, 500.5}));
    of = Distribute({7, 1, 4});
    EXPECT_EQ((std::vector{of.minimum, of.p50, of.p90, of.p999, of.mean}), (std::vector{1.0, 4.0, 7.0, 7.0, 4.0}));
    of = Distribute({3});
    EXPECT_EQ((std::vector{of.p50, of.p999, of.mean}), (std::vector{3.0, 3.0, 3.0}));
}

// The members of one distribution are in order; returns its mean.
double CheckedMean(const json& steady, const std::string& name) {
    const json& times = steady.at(name);
    std::vector<double> ascending;
    for (const char* member : {"min", "p50", "p90", "p99", "p99_9", "max"}) {
        ascending.push_back(times.at(member).get<double>());
    }
    const double mean = times.at("mean");
    EXPECT_TRUE(std::is_sorted(ascending.begin(), ascending.end())) << times;
    EXPECT_GE(ascending.front(), 0);
    EXPECT_TRUE(ascending.front() <= mean && mean <= ascending.back()) << times;
    return mean;
}

void CheckMemory(const json& memory) {
    constexpr uint64_t kMegabyte = 1'000'000;  // no program here takes less
    EXPECT_GT(memory.at("resident_bytes").get<uint64_t>(), kMegabyte);
    EXPECT_GE(memory.at("peak_bytes").get<uint64_t>(), memory.at("resident_bytes").get<uint64_t>());
}

class BenchCommand : public ::testing::TestWithParam<std::string> {
 protected:
    Testing::TemporaryFolder folder;
};

TEST_P(BenchCommand, FiguresFitTogether) {
    const std::string model = Testing::AddModel({1, 2, 3}).WriteTo(folder, "add");
    const std::string& host = GetParam();
    std::vector<std::string> arguments = {"bench",        model, "--warmup", "3",
                                          "--iterations", "25",  "--json",   folder.Path("结果.json")};
    if (!host.empty()) {
        arguments.insert(arguments.end(), {"--host", host});
    }
    const CapturedRun run = RunCaptured(arguments);
    ASSERT_EQ(run.exitValue, 0) << run.err;
    EXPECT_THAT(run.out, AllOf(HasSubstr("\n25 inferences, "), HasSubstr("\ncopy out  "), HasSubstr("\norvane  ")));

    const std::vector<uint8_t> text = Testing::ReadBytes(folder.Path("结果.json"));
    const json result = json::parse(text.begin(), text.end());
    EXPECT_EQ(result.at("model"), model);
    EXPECT_EQ(result.at("host"), host.empty() ? json() : json(host));
    const json& steady = result.at("steady_state");
    EXPECT_EQ(steady.at("warmup"), 3);
    EXPECT_EQ(steady.at("iterations"), 25);
    EXPECT_EQ(steady.at("interrupted"), false);
    const double mean = CheckedMean(steady, "inference_ms");
    EXPECT_THAT(
        CheckedMean(steady, "copy_in_ms") + CheckedMean(steady, "compute_ms") + CheckedMean(steady, "copy_out_ms"),
        DoubleNear(mean, mean * 1e-6));
    EXPECT_THAT(steady.at("per_second").get<double>() * mean, DoubleNear(1000, 1e-3));

    const json& start = result.at("start_up");
    EXPECT_GT(start.at("initialisation_ms").get<double>(), 0);
    EXPECT_GT(start.at("first_inference_ms").get<double>(), 0);
    CheckMemory(result.at("memory").at("orvane"));
    if (host.empty()) {
        EXPECT_TRUE(start.at("launch_ms").is_null());
        EXPECT_TRUE(result.at("memory").at("host").is_null());
    } else {
        EXPECT_GT(start.at("launch_ms").get<double>(), 0);
        CheckMemory(result.at("memory").at("host"));
    }
}

TEST_P(BenchCommand, SecondsSayHowLongItMeasures) {
    std::vector<std::string> arguments = {"bench", Testing::AddModel({1}).WriteTo(folder, "add"), "--seconds", "0.2"};
    if (!GetParam().empty()) {
        arguments.insert(arguments.end(), {"--host", GetParam()});
    }
    const auto start = std::chrono::steady_clock::now();
    const CapturedRun run = RunCaptured(arguments);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    EXPECT_EQ(run.exitValue, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr(" inferences, "));
}

INSTANTIATE_TEST_SUITE_P(WhereTheModelRuns, BenchCommand, ::testing::Values("", ORVANE_HOST_PATH),
                         [](const auto& suite) { return suite.param.empty() ? "in_process" : "host"; });

}  // namespace
}  // namespace Orvane::Cli
