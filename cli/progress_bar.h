#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>

namespace Orvane::Cli {

// Shows on a terminal how far a long piece of work is, once that has taken half a second, and is gone when destroyed.
class ProgressBar {
 public:
    // `screen` is null when there is no terminal. `whole` is in any unit; 0 when it is not known.
    ProgressBar(std::ostream* screen, uint64_t whole);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Advance(uint64_t amount);

 private:
    std::ostream* terminal;
    uint64_t total;
    uint64_t done = 0;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    bool visible = false;
};

}  // namespace Orvane::Cli
