#include "core/call_watch.h"

#include <algorithm>

namespace Orvane {

namespace {

constexpr std::chrono::milliseconds kBetweenProgress{200};

thread_local CallWatch* current = nullptr;

}  // namespace

CallWatch::CallWatch(uint32_t limit, Progress whichProgress, void* whichUser)
    : deadline(limit != 0 ? Clock::now() + std::chrono::milliseconds(limit) : Clock::time_point::max()),
      nextProgress(whichProgress != nullptr ? Clock::now() + kBetweenProgress : Clock::time_point::max()),
      progress(whichProgress),
      user(whichUser),
      outer(current) {
    current = this;
}

CallWatch::~CallWatch() {
    current = outer;
}

void CallWatch::Enter(LoadStep step) {
    if (current != nullptr) {
        current->step = step;
        current->AskProgress();
    }
}

void CallWatch::Look() {
    if (current == nullptr || std::min(current->deadline, current->nextProgress) == Clock::time_point::max()) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now >= current->deadline) {
        throw CallTimedOut();
    }
    if (now >= current->nextProgress) {
        current->AskProgress();
    }
}

uint32_t CallWatch::Within(uint32_t atMost) {
    if (current == nullptr) {
        return atMost;
    }
    const Clock::time_point next = std::min(current->deadline, current->nextProgress);
    if (next == Clock::time_point::max()) {
        return atMost;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<uint32_t>(std::clamp<int64_t>(left, 0, atMost));
}

// `progress` may create another watch, but that watch is destroyed before `progress` returns.
void CallWatch::AskProgress() {
    if (progress == nullptr) {
        return;
    }
    if (progress(user, static_cast<int32_t>(step)) != 0) {
        throw CallCancelled();
    }
    nextProgress = Clock::now() + kBetweenProgress;
}

}  // namespace Orvane
