#include "cli/report/load_progress.h"

#include "cli/printable.h"
#include "platform/terminal.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string_view>

namespace Orvane::Cli {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLongestPath = 40;
constexpr std::string_view kDots = "...";

std::string NameOf(orvane::LoadStep step) {
    switch (step) {
        case orvane::LoadStep::Reading:
            return "reading ";
        case orvane::LoadStep::Compiling:
            return "compiling ";
        case orvane::LoadStep::Importing:
            return "reading the cache of ";
        case orvane::LoadStep::Writing:
            return "writing ";
        case orvane::LoadStep::StartingHost:
            return "starting the host process for ";
        case orvane::LoadStep::InHost:
            return "the host process is loading ";
        default:
            return "loading ";
    }
}

// Returns the end of a long path: three dots and at most `longest` bytes. The program cannot remove a line that the
// terminal has wrapped.
std::string Short(const std::string& path, std::size_t longest) {
    if (path.size() <= longest) {
        return path;
    }
    std::size_t begin = path.size() - longest;
    while (begin < path.size() && (static_cast<unsigned char>(path[begin]) & 0xc0) == 0x80) {
        ++begin;  // does not split a letter
    }
    return std::string(kDots) + path.substr(begin);
}

}  // namespace

LoadProgress::LoadProgress(const std::string& what, std::ostream& err) {
    if (&err == &std::cerr && Platform::IsStandardErrorTerminal()) {
        display = std::thread([this, what, &err] { Run(Printable(what), err); });
    }
}

LoadProgress::~LoadProgress() {
    if (display.joinable()) {
        {
            const std::lock_guard guard(mutex);
            isOver = true;
        }
        ended.notify_one();
        display.join();
    }
}

void LoadProgress::Run(const std::string& what, std::ostream& terminal) {
    const auto start = std::chrono::steady_clock::now();
    std::size_t width = 0;
    std::unique_lock lock(mutex);
    for (auto pause = 500ms; !ended.wait_for(lock, pause, [this] { return isOver; }); pause = 100ms) {
        const std::string begin = NameOf(step);
        const std::string end =
            "  " + Formatted("%.1f s", std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        const std::size_t room = Platform::TerminalWidth() - 1;  // the last column stays free
        const std::size_t others = begin.size() + end.size() + kDots.size();
        std::string line = begin;
        line.append(Short(what, room > others ? std::min(room - others, kLongestPath) : 0)).append(end);
        line.resize(std::min(line.size(), room));
        terminal << "\r" << line << std::string(width > line.size() ? width - line.size() : 0, ' ') << std::flush;
        width = line.size();
    }
    if (width > 0) {
        terminal << "\r" << std::string(width, ' ') << "\r" << std::flush;
    }
}

}  // namespace Orvane::Cli
