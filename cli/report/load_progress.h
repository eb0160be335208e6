#pragma once

#include <orvane/orvane.hpp>

#include <atomic>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

namespace Orvane::Cli {

// Shows on a terminal the step of a load and the time so far, after the first half second. The destructor removes the
// line.
class LoadProgress {
 public:
    // Shows nothing unless `err` is the standard error and a terminal. `what` is the path of the model.
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
