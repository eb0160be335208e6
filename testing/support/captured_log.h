#pragma once

#include <orvane/log.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Testing {

// Collects the SDK's log lines while it lives; one at a time, used from one thread.
class CapturedLog {
 public:
    CapturedLog() {
        lines.clear();
        SetLogCallback([](uint32_t level, const char* text) { lines.emplace_back(level, text); });
    }
    ~CapturedLog() { SetLogCallback(nullptr); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The (level, text) pairs since the last call.
    // NOLINTNEXTLINE(readability-convert-member-functions-to-static): lines are collected as long as the object lives
    std::vector<std::pair<uint32_t, std::string>> Take() { return std::exchange(lines, {}); }

 private:
    inline static std::vector<std::pair<uint32_t, std::string>> lines;
};

}  // namespace Orvane::Testing
