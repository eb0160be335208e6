#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace Orvane {

// Queues the log lines of its thread. The destructor of the thread's outermost `DeferredLog` delivers them in order.
// Create a `DeferredLog` before you take a lock under which the SDK may log. The log callback is the application's
// code, and may call a function that takes the same lock.
class DeferredLog {
 public:
    DeferredLog() noexcept;
    ~DeferredLog();
    DeferredLog(const DeferredLog&) = delete;
    DeferredLog& operator=(const DeferredLog&) = delete;

    // Queues the line if this thread has a `DeferredLog`, otherwise returns false. Drops the line if there is no memory
    // for it.
    static bool Queue(uint32_t level, std::unique_ptr<char[]>& text) noexcept;

 private:
    struct Line {
        uint32_t level;
        std::unique_ptr<char[]> text;
    };

    std::vector<Line> lines;
};

}  // namespace Orvane
