#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace Orvane::Cli {

// Integers and booleans as int64_t, all kinds of float as double.
using Number = std::variant<int64_t, double>;

// What one looks at first in an output. Elements that are not a number count in `notNumbers` only; without any
// other element there is no minimum, maximum or mean.
struct TensorSummary {
    struct Range {
        Number minimum;
        Number maximum;
        double mean;
        uint64_t indexOfMaximum;  // of the first one, counted through all dimensions
    };
    std::optional<Range> range;
    uint64_t notNumbers = 0;
};

// `bytes` holds whole elements of `type`, which is not `orvane::ElementType::Unknown`.
TensorSummary Summarise(orvane::ElementType type, const std::vector<uint8_t>& bytes);

struct RankedElement {
    uint64_t index;  // counted through all dimensions
    Number value;
};

// The largest elements, the largest first, of equal ones the first; fewer than `count` when there are fewer numbers.
std::vector<RankedElement> Largest(orvane::ElementType type, const std::vector<uint8_t>& bytes, std::size_t count);

}  // namespace Orvane::Cli
