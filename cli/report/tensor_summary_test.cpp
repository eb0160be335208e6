#include "cli/report/tensor_summary.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace Orvane::Cli {
namespace {

// Minimum, maximum, mean, index of the maximum; then the number of NaNs.
template <typename Element>
std::string SummaryOf(orvane::ElementType type, const std::vector<Element>& elements) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(elements.data());
    const auto [range, notNumbers] = Summarise(type, {bytes, bytes + elements.size() * sizeof(Element)});
    std::ostringstream text;
    if (range) {
        std::visit([&](auto least, auto most) { text << least << " " << most << " "; }, range->minimum, range->maximum);
        text << range->mean << " at " << range->indexOfMaximum;
    }
    text << "; " << notNumbers;
    return text.str();
}

TEST(TensorSummary, CoversEveryElementTypeAndCountsNaNs) {
    EXPECT_EQ(SummaryOf<float>(orvane::ElementType::Float32, {NAN, 1.5F, -2, NAN, 3.5F, 3.5F}), "-2 3.5 1.625 at 4; 2");
    EXPECT_EQ(SummaryOf<float>(orvane::ElementType::Float32, {-3, -1}), "-3 -1 -2 at 1; 0");
    EXPECT_EQ(SummaryOf<float>(orvane::ElementType::Float32, {NAN}), "; 1");
    EXPECT_EQ(SummaryOf<double>(orvane::ElementType::Float64, {-1e300}), "-1e+300 -1e+300 -1e+300 at 0; 0");
    // Half-precision numbers: 1.5 and -2; the largest, and the smallest above zero; NaN and minus infinity.
    EXPECT_EQ(SummaryOf<uint16_t>(orvane::ElementType::Float16, {0x3e00, 0xc000}), "-2 1.5 -0.25 at 0; 0");
    EXPECT_EQ(SummaryOf<uint16_t>(orvane::ElementType::Float16, {0x7bff, 0x0001}), "5.96046e-08 65504 32752 at 0; 0");
    EXPECT_EQ(SummaryOf<uint16_t>(orvane::ElementType::Float16, {0x7e00, 0xfc00}), "-inf -inf -inf at 1; 1");
    EXPECT_EQ(SummaryOf<int64_t>(orvane::ElementType::Int64, {1 - INT64_MAX, INT64_MAX}),
              "-9223372036854775806 9223372036854775807 0 at 1; 0");
    EXPECT_EQ(SummaryOf<int32_t>(orvane::ElementType::Int32, {-5, 70'000}), "-5 70000 34997.5 at 1; 0");
    EXPECT_EQ(SummaryOf<int16_t>(orvane::ElementType::Int16, {-300, 300}), "-300 300 0 at 1; 0");
    EXPECT_EQ(SummaryOf<int8_t>(orvane::ElementType::Int8, {-128, 127}), "-128 127 -0.5 at 1; 0");
    EXPECT_EQ(SummaryOf<uint8_t>(orvane::ElementType::UInt8, {255, 1}), "1 255 128 at 0; 0");
    EXPECT_EQ(SummaryOf<uint8_t>(orvane::ElementType::Bool, {0, 1, 0, 1}), "0 1 0.5 at 1; 0");
}

}  // namespace
}  // namespace Orvane::Cli
