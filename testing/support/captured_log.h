#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Testing {

// Collects the SDK's log lines while it lives; one at a time, used from one thread.
class CapturedLog {
 public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The (level, text) pairs since the last call.
    std::vector<std::pair<uint32_t, std::string>> Take() { return std::exchange(lines, {}); }

 private:
    std::vector<std::pair<uint32_t, std::string>> lines;
};

}  // namespace Orvane::Testing
