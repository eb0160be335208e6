#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace Orvane {

// While one lives, the log lines of its thread wait. The outermost one delivers them when it goes, in their order.
// Make one before you take a lock under which anything may log: the log callback is an application's code, which may
// call what takes the same lock.
class DeferredLog {
 public:
    DeferredLog() noexcept;
    ~DeferredLog();
    DeferredLog(const DeferredLog&) = delete;
    DeferredLog& operator=(const DeferredLog&) = delete;

    // Keeps the line if one lives on this thread; without memory for that, the line is dropped. False if none lives.
    static bool Keep(uint32_t level, std::unique_ptr<char[]>& text) noexcept;

 private:
    struct Line {
        uint32_t level;
        std::unique_ptr<char[]> text;
    };

    std::vector<Line> lines;
};

}  // namespace Orvane
