#include "cli/report/progress_bar.h"

#include "platform/terminal.h"

#include <algorithm>
#include <iostream>
#include <string>

namespace Orvane::Cli {
namespace {

constexpr std::size_t kMostCells = 40;
constexpr std::size_t kOthers = 8;  // brackets, a blank and "100 %"

}  // namespace

ProgressBar::ProgressBar(std::ostream& err)
    : terminal(&err == &std::cerr && Platform::IsStandardErrorTerminal() ? &err : nullptr) {}

ProgressBar::~ProgressBar() {
    if (shownPercent >= 0) {
        *terminal << "\r" << std::string(shownWidth, ' ') << "\r" << std::flush;
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
    const std::size_t width = Platform::TerminalWidth();
    const std::size_t cells =
        width > kOthers + 1 ? std::min(width - kOthers - 1, kMostCells) : 0;  // one column stays free
    const auto filled = static_cast<std::size_t>(fraction * static_cast<double>(cells));
    *terminal << "\r[" << std::string(filled, '#') << std::string(cells - filled, '.') << "] " << percent << " %"
              << std::flush;
    shownPercent = percent;
    shownWidth = cells + kOthers;
}

}  // namespace Orvane::Cli
