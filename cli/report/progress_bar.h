#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>

namespace Orvane::Cli {

// Once some work has taken half a second, shows on a terminal how much of it is done. The destructor removes the bar.
class ProgressBar {
 public:
    // Shows nothing unless `err` is the standard error and a terminal.
    explicit ProgressBar(std::ostream& err);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // In any unit; `whole` is 0 if it is not known. Cheap enough to be called millions of times.
    void Show(double done, double whole);

 private:
    std::ostream* terminal;  // null for none
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    int shownPercent = -1;
    std::size_t shownWidth = 0;
};

}  // namespace Orvane::Cli
