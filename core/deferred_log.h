#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace Orvane {

// Queues the log lines of its thread. The destructor of the outermost one delivers them in their order.
// Create one before you take a lock under which the SDK may log: the log callback is the application's code, which may
// call a function that takes the same lock.
class DeferredLog {
 public:
    DeferredLog() noexcept;
    ~DeferredLog();
    DeferredLog(const DeferredLog&) = delete;
    DeferredLog& operator=(const DeferredLog&) = delete;

    // Queues the line if this thread has a `DeferredLog`, and returns false if it has none. Drops the line if there is
    // no memory for it.
    static bool Queue(uint32_t level, std::unique_ptr<char[]>& text) noexcept;

 private:
    struct Line {
        uint32_t level;
        std::unique_ptr<char[]> text;
    };

    std::vector<Line> lines;
};

}  // namespace Orvane
