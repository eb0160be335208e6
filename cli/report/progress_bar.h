#pragma once

#include <chrono>
#include <iosfwd>

namespace Orvane::Cli {

// Shows on a terminal how far a long piece of work is, once that has taken half a second, and is gone when destroyed.
class ProgressBar {
 public:
    // Shows nothing unless `err` is the standard error and that a terminal.
    explicit ProgressBar(std::ostream& err);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // In any unit; `whole` is 0 when it is not known. Cheap enough to be called millions of times.
    void Show(double done, double whole);

 private:
    std::ostream* terminal;  // null for none
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    int shownPercent = -1;
};

}  // namespace Orvane::Cli
