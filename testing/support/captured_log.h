#pragma once

#include <orvane/log.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Testing {

// Collects the SDK's log lines during its lifetime. Only one may exist at a time. Not thread-safe.
class CapturedLog {
 public:
    CapturedLog() {
        lines.clear();
        SetLogCallback([](uint32_t level, const char* text) { lines.emplace_back(level, text); });
    }
    ~CapturedLog() { SetLogCallback(nullptr); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // Returns the (level, text) pairs since the last call.
    // NOLINTNEXTLINE(readability-convert-member-functions-to-static): the object collects the lines during its lifetime
    std::vector<std::pair<uint32_t, std::string>> Take() { return std::exchange(lines, {}); }

 private:
    inline static std::vector<std::pair<uint32_t, std::string>> lines;
};

}  // namespace Orvane::Testing
