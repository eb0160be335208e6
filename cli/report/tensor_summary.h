#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace Orvane::Cli {

// An integer or a boolean is an int64_t, and a float of any size is a double.
using Number = std::variant<int64_t, double>;

// A summary of an output. NaNs count in `notNumbers` only. If all elements are NaNs, there is no range.
struct TensorSummary {
    struct Range {
        Number minimum;
        Number maximum;
        double mean;
        uint64_t indexOfMaximum;  // of the first maximum, counted through all dimensions
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

// Returns the largest elements in descending order; equal elements keep their order. Returns fewer than `count` if
// there are fewer numbers.
std::vector<RankedElement> Largest(orvane::ElementType type, const std::vector<uint8_t>& bytes, std::size_t count);

}  // namespace Orvane::Cli
