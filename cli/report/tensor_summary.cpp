#include "cli/report/tensor_summary.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

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

template <typename Stored>
Stored ElementAt(const std::vector<uint8_t>& bytes, std::size_t index) {
    Stored stored;
    std::memcpy(&stored, bytes.data() + index * sizeof(Stored), sizeof(Stored));
    return stored;
}

// `Stored` is the type of an element in memory; `widen` converts it to an int64_t or a double.
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
        const Value value = widen(ElementAt<Stored>(bytes, i));
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

template <typename Stored, typename Value>
std::vector<RankedElement> RankAs(const std::vector<uint8_t>& bytes, std::size_t count, Value (*widen)(Stored)) {
    std::vector<std::pair<Value, uint64_t>> elements;
    for (std::size_t i = 0; i < bytes.size() / sizeof(Stored); ++i) {
        const Value value = widen(ElementAt<Stored>(bytes, i));
        if (IsNumber(value)) {
            elements.emplace_back(value, i);
        }
    }
    const std::size_t kept = std::min(count, elements.size());
    std::partial_sort(elements.begin(), elements.begin() + static_cast<std::ptrdiff_t>(kept), elements.end(),
                      [](const auto& left, const auto& right) {
                          return left.first != right.first ? left.first > right.first : left.second < right.second;
                      });
    std::vector<RankedElement> ranked;
    for (std::size_t i = 0; i < kept; ++i) {
        ranked.push_back({elements[i].second, elements[i].first});
    }
    return ranked;
}

// Calls `work` with the function that converts an element of this type to a number.
template <typename Work>
auto WithWidening(orvane::ElementType type, Work work) {
    switch (type) {
        case orvane::ElementType::Float32:
            return work(Widen<float, double>);
        case orvane::ElementType::Float64:
            return work(Widen<double, double>);
        case orvane::ElementType::Float16:
            return work(FromHalf);
        case orvane::ElementType::Int64:
            return work(Widen<int64_t, int64_t>);
        case orvane::ElementType::Int32:
            return work(Widen<int32_t, int64_t>);
        case orvane::ElementType::Int16:
            return work(Widen<int16_t, int64_t>);
        case orvane::ElementType::Int8:
            return work(Widen<int8_t, int64_t>);
        default:
            return work(Widen<uint8_t, int64_t>);
    }
}

}  // namespace

TensorSummary Summarise(orvane::ElementType type, const std::vector<uint8_t>& bytes) {
    return WithWidening(type, [&](auto widen) { return SummariseAs(bytes, widen); });
}

std::vector<RankedElement> Largest(orvane::ElementType type, const std::vector<uint8_t>& bytes, std::size_t count) {
    return WithWidening(type, [&](auto widen) { return RankAs(bytes, count, widen); });
}

}  // namespace Orvane::Cli
