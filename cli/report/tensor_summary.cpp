#include "cli/report/tensor_summary.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace Orvane::Cli {
namespace {

double FromHalf(uint16_t bits) {
    const int exponent = (bits >> 10) & 0x1f;
    const int fraction = bits & 0x3ff;
    double magnitude = 0;
    if (exponent == 0x1f) {
        magnitude = fraction == 0 ? std::numeric_limits<double>::infinity() : std::numeric_limits<double>::quiet_NaN();
    } else if (exponent == 0) {
        magnitude = std::ldexp(fraction, -24);
    } else {
        magnitude = std::ldexp(fraction + 0x400, exponent - 25);
    }
    return (bits & 0x8000) != 0 ? -magnitude : magnitude;
}

bool IsNumber(int64_t) {
    return true;
}

bool IsNumber(double value) {
    return !std::isnan(value);
}

template <typename Stored, typename Value>
Value Widen(Stored stored) {
    return static_cast<Value>(stored);
}

// `Stored` is how an element lies in memory; `widen` makes an int64_t or a double of it.
template <typename Stored, typename Value>
TensorSummary SummariseAs(const std::vector<uint8_t>& bytes, Value (*widen)(Stored)) {
    TensorSummary summary;
    Value minimum{};
    Value maximum{};
    double sum = 0;
    uint64_t numbers = 0;
    uint64_t indexOfMaximum = 0;
    const std::size_t count = bytes.size() / sizeof(Stored);
    for (std::size_t i = 0; i < count; ++i) {
        Stored stored;
        std::memcpy(&stored, bytes.data() + i * sizeof(Stored), sizeof(Stored));
        const Value value = widen(stored);
        if (!IsNumber(value)) {
            ++summary.notNumbers;
            continue;
        }
        if (numbers == 0 || value < minimum) {
            minimum = value;
        }
        if (numbers == 0 || value > maximum) {
            maximum = value;
            indexOfMaximum = i;
        }
        sum += static_cast<double>(value);
        ++numbers;
    }
    if (numbers > 0) {
        summary.range = {minimum, maximum, sum / static_cast<double>(numbers), indexOfMaximum};
    }
    return summary;
}

}  // namespace

TensorSummary Summarise(DataType type, const std::vector<uint8_t>& bytes) {
    switch (type) {
        case DataTypeFloat32:
            return SummariseAs(bytes, Widen<float, double>);
        case DataTypeFloat64:
            return SummariseAs(bytes, Widen<double, double>);
        case DataTypeFloat16:
            return SummariseAs(bytes, FromHalf);
        case DataTypeInt64:
            return SummariseAs(bytes, Widen<int64_t, int64_t>);
        case DataTypeInt32:
            return SummariseAs(bytes, Widen<int32_t, int64_t>);
        case DataTypeInt16:
            return SummariseAs(bytes, Widen<int16_t, int64_t>);
        case DataTypeInt8:
            return SummariseAs(bytes, Widen<int8_t, int64_t>);
        default:
            return SummariseAs(bytes, Widen<uint8_t, int64_t>);
    }
}

}  // namespace Orvane::Cli
