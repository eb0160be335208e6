#pragma once

#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

namespace Orvane::Cli {

// Shows on a terminal what a load is at and the time so far, once that has taken half a second, and is gone when
// destroyed.
class LoadProgress {
 public:
    // Shows nothing unless `err` is the standard error and that a terminal. `what` is what is loaded.
    LoadProgress(const std::string& what, std::ostream& err);
    ~LoadProgress();
    LoadProgress(const LoadProgress&) = delete;
    LoadProgress& operator=(const LoadProgress&) = delete;

 private:
    void Run(const std::string& what, std::ostream& terminal);

    std::mutex mutex;
    std::condition_variable ended;
    bool isOver = false;
    std::thread display;
};

}  // namespace Orvane::Cli
