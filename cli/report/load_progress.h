#pragma once

#include <orvane/orvane.hpp>

#include <atomic>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

namespace Orvane::Cli {

// Once a load has taken half a second, shows on a terminal its step and the time so far. The destructor removes the
// line.
class LoadProgress {
 public:
    // Shows nothing unless `err` is the standard error and a terminal. `what` is what is loaded.
    LoadProgress(const std::string& what, std::ostream& err);
    ~LoadProgress();
    LoadProgress(const LoadProgress&) = delete;
    LoadProgress& operator=(const LoadProgress&) = delete;

    // For the SDK's progress callback.
    void SetStep(orvane::LoadStep now) { step = now; }

 private:
    void Run(const std::string& what, std::ostream& terminal);

    std::atomic<orvane::LoadStep> step{orvane::LoadStep::None};
    std::mutex mutex;
    std::condition_variable ended;
    bool isOver = false;
    std::thread display;
};

}  // namespace Orvane::Cli
