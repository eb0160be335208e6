#pragma once

#include <vector>

namespace Orvane::Cli {

// What a number of measurements come to. A percentile is the smallest one that at least so many of 100 do not exceed.
struct Distribution {
    double minimum;
    double p50;
    double p90;
    double p99;
    double p999;  // 99.9
    double maximum;
    double mean;
};

// Of at least one measurement, in any order.
Distribution Distribute(std::vector<double> values);

}  // namespace Orvane::Cli
