#include "cli/distribution.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace Orvane::Cli {

Distribution Distribute(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t count = values.size();
    // In whole numbers, so that no rounding moves the rank.
    const auto percentile = [&](std::size_t perMille) { return values[(count * perMille + 999) / 1000 - 1]; };
    const double sum = std::accumulate(values.begin(), values.end(), 0.0);
    return {values.front(),
            percentile(500),
            percentile(900),
            percentile(990),
            percentile(999),
            values.back(),
            sum / static_cast<double>(count)};
}

}  // namespace Orvane::Cli
