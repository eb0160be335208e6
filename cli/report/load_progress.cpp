#include "cli/report/load_progress.h"

#include "cli/printable.h"
#include "platform/terminal.h"

#include <chrono>
#include <cstdio>
#include <iostream>

namespace Orvane::Cli {
namespace {

using namespace std::chrono_literals;

std::string Seconds(std::chrono::steady_clock::duration time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", std::chrono::duration<double>(time).count());
    return text;
}

// The end of a long path: a line that the terminal breaks could not be taken back.
std::string Short(const std::string& path) {
    constexpr std::size_t kLongest = 40;
    if (path.size() <= kLongest) {
        return path;
    }
    std::size_t begin = path.size() - kLongest;
    while (begin < path.size() && (static_cast<unsigned char>(path[begin]) & 0xc0) == 0x80) {
        ++begin;  // not within a letter
    }
    return "..." + path.substr(begin);
}

}  // namespace

LoadProgress::LoadProgress(const std::string& what, std::ostream& err) {
    if (&err == &std::cerr && Platform::IsStandardErrorTerminal()) {
        display = std::thread([this, what, &err] { Run(Printable(Short(what)), err); });
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
        const std::string line = "loading " + what + "  " + Seconds(std::chrono::steady_clock::now() - start);
        terminal << "\r" << line << std::string(width > line.size() ? width - line.size() : 0, ' ') << std::flush;
        width = line.size();
    }
    if (width > 0) {
        terminal << "\r" << std::string(width, ' ') << "\r" << std::flush;
    }
}

}  // namespace Orvane::Cli
