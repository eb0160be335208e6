#include "core/call_watch.h"

namespace Orvane {

namespace {

constexpr uint32_t kBetweenProgress = 200;  // milliseconds

thread_local CallWatch* current = nullptr;

}  // namespace

CallWatch::CallWatch(uint32_t limit, Progress whichProgress, void* whichUser)
    : deadline(limit),
      nextProgress(whichProgress != nullptr ? Deadline(kBetweenProgress) : Deadline()),
      progress(whichProgress),
      user(whichUser),
      outer(current) {
    current = this;
}

CallWatch::~CallWatch() {
    current = outer;
}

void CallWatch::BeginStep(LoadStep step) {
    if (current != nullptr) {
        current->step = step;
        current->AskProgress();
    }
}

void CallWatch::Check() {
    if (current == nullptr) {
        return;
    }
    if (current->deadline.IsOver()) {
        throw CallTimedOut();
    }
    if (current->nextProgress.IsOver()) {
        current->AskProgress();
    }
}

uint32_t CallWatch::UntilCheck(uint32_t atMost) {
    return current != nullptr ? current->nextProgress.Left(current->deadline.Left(atMost)) : atMost;
}

// `progress` may create another watch, but that watch is destroyed before `progress` returns.
void CallWatch::AskProgress() {
    if (progress == nullptr) {
        return;
    }
    if (progress(user, static_cast<int32_t>(step)) != 0) {
        throw CallCancelled();
    }
    nextProgress = Deadline(kBetweenProgress);
}

}  // namespace Orvane
