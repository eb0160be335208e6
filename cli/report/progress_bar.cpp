#include "cli/report/progress_bar.h"

#include "platform/terminal.h"

#include <algorithm>
#include <iostream>
#include <string>

namespace Orvane::Cli {
namespace {

constexpr std::size_t kCells = 40;
constexpr std::size_t kLineWidth = kCells + 8;  // brackets, a blank and "100 %"

}  // namespace

ProgressBar::ProgressBar(std::ostream& err)
    : terminal(&err == &std::cerr && Platform::IsStandardErrorTerminal() ? &err : nullptr) {}

ProgressBar::~ProgressBar() {
    if (shownPercent >= 0) {
        *terminal << "\r" << std::string(kLineWidth, ' ') << "\r" << std::flush;
    }
}

void ProgressBar::Show(double done, double whole) {
    if (terminal == nullptr || whole == 0 ||
        std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500)) {
        return;
    }
    const double fraction = std::min(1.0, done / whole);
    const int percent = static_cast<int>(fraction * 100);
    if (percent == shownPercent) {
        return;
    }
    const auto filled = static_cast<std::size_t>(fraction * kCells);
    *terminal << "\r[" << std::string(filled, '#') << std::string(kCells - filled, '.') << "] " << percent << " %"
              << std::flush;
    shownPercent = percent;
}

}  // namespace Orvane::Cli
