#include "cli/tensor_summary.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace Orvane::Cli {
namespace {

template <typename Element>
TensorSummary SummaryOf(DataType type, const std::vector<Element>& elements) {
    std::vector<uint8_t> bytes(elements.size() * sizeof(Element));
    if (!bytes.empty()) {
        std::memcpy(bytes.data(), elements.data(), bytes.size());
    }
    return Summarise(type, bytes);
}

template <typename Value>
void ExpectRange(const TensorSummary& summary, Value minimum, Value maximum, double mean, uint64_t indexOfMaximum) {
    ASSERT_TRUE(summary.range);
    EXPECT_EQ(summary.range->minimum, Number(minimum));
    EXPECT_EQ(summary.range->maximum, Number(maximum));
    EXPECT_EQ(summary.range->mean, mean);
    EXPECT_EQ(summary.range->indexOfMaximum, indexOfMaximum);
}

TEST(TensorSummary, CoversEveryElementType) {
    constexpr int64_t kBig = std::numeric_limits<int64_t>::max();
    ExpectRange(SummaryOf<float>(DataTypeFloat32, {1.5F, -2, 3.5F, 3.5F}), -2.0, 3.5, 1.625, 2);
    ExpectRange(SummaryOf<double>(DataTypeFloat64, {-1e300}), -1e300, -1e300, -1e300, 0);
    ExpectRange(SummaryOf<int64_t>(DataTypeInt64, {kBig - 1, kBig}), kBig - 1, kBig, 9223372036854775808.0, 1);
    ExpectRange(SummaryOf<int32_t>(DataTypeInt32, {-5, 7}), int64_t{-5}, int64_t{7}, 1, 1);
    ExpectRange(SummaryOf<int16_t>(DataTypeInt16, {-300, 300}), int64_t{-300}, int64_t{300}, 0, 1);
    ExpectRange(SummaryOf<int8_t>(DataTypeInt8, {-128, 127}), int64_t{-128}, int64_t{127}, -0.5, 1);
    ExpectRange(SummaryOf<uint8_t>(DataTypeUInt8, {255, 1}), int64_t{1}, int64_t{255}, 128, 0);
    ExpectRange(SummaryOf<uint8_t>(DataTypeBool, {0, 1, 0, 1}), int64_t{0}, int64_t{1}, 0.5, 1);
    // 1, -2, the largest and the smallest half above zero.
    ExpectRange(SummaryOf<uint16_t>(DataTypeFloat16, {0x3c00, 0xc000}), -2.0, 1.0, -0.5, 0);
    ExpectRange(SummaryOf<uint16_t>(DataTypeFloat16, {0x7bff}), 65504.0, 65504.0, 65504, 0);
    ExpectRange(SummaryOf<uint16_t>(DataTypeFloat16, {0x0001}), 0x1p-24, 0x1p-24, 0x1p-24, 0);
}

TEST(TensorSummary, LeavesOutAndCountsWhatIsNoNumber) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const TensorSummary mixed = SummaryOf<float>(DataTypeFloat32, {kNan, -3, kNan, -1});
    ExpectRange(mixed, -3.0, -1.0, -2, 3);
    EXPECT_EQ(mixed.notNumbers, 2U);
    const TensorSummary halves = SummaryOf<uint16_t>(DataTypeFloat16, {0x7e00, 0xfc00});
    EXPECT_EQ(halves.notNumbers, 1U);
    EXPECT_EQ(halves.range->maximum, Number(-std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(SummaryOf<float>(DataTypeFloat32, {kNan}).range);
    EXPECT_FALSE(SummaryOf<float>(DataTypeFloat32, {}).range);
}

}  // namespace
}  // namespace Orvane::Cli
