#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>

namespace Orvane::Cli {

// Shows on a terminal how much work is done, after the first half second. The destructor removes the bar.
class ProgressBar {
 public:
    // Shows nothing unless `err` is the standard error and a terminal.
    explicit ProgressBar(std::ostream& err);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // Takes any unit; `whole` is 0 if it is unknown. Cheap enough for millions of calls.
    void Show(double done, double whole);

 private:
    std::ostream* terminal;  // can be null
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    int shownPercent = -1;
    std::size_t shownWidth = 0;
};

}  // namespace Orvane::Cli
