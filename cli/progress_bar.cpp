#include "cli/progress_bar.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace Orvane::Cli {
namespace {

constexpr std::size_t kCells = 40;
constexpr std::size_t kLineWidth = kCells + 8;  // brackets, a blank and "100 %"

}  // namespace

ProgressBar::ProgressBar(std::ostream* screen, uint64_t whole) : terminal(screen), total(whole) {}

ProgressBar::~ProgressBar() {
    if (visible) {
        *terminal << "\r" << std::string(kLineWidth, ' ') << "\r" << std::flush;
    }
}

void ProgressBar::Advance(uint64_t amount) {
    done += amount;
    if (terminal == nullptr || total == 0 ||
        std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500)) {
        return;
    }
    const double fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(fraction * kCells);
    *terminal << "\r[" << std::string(filled, '#') << std::string(kCells - filled, '.') << "] "
              << static_cast<int>(fraction * 100) << " %" << std::flush;
    visible = true;
}

}  // namespace Orvane::Cli
