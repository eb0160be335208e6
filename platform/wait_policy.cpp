#include "platform/wait_policy.h"

#include <algorithm>

namespace Orvane::Platform {

namespace {

// Watching costs a quarter of its time. So a wait that surely ends within four wake-ups watches from its start.
constexpr int64_t kWatchesPerWakeUp = 4;

// An idle wait may watch for at most 4 % of its time.
constexpr int64_t kIdleWaitsPerWatch = 25;

constexpr int64_t kMostWakeUp = 1'000'000;

// If watches lose more than this against sleeping, the machine is busy.
constexpr int64_t kWakeUpsPerSign = 16;

constexpr uint32_t kWaitsPerPlan = 8;
constexpr size_t kEarliest = 3;  // a watch may begin for one of the shortest times, up to this index

// Holds a flag while this object exists, unless another thread holds it.
class TryLock {
 public:
    explicit TryLock(std::atomic_flag& toHold) : flag(toHold), holds(!toHold.test_and_set(std::memory_order_acquire)) {}
    ~TryLock() {
        if (holds) {
            flag.clear(std::memory_order_release);
        }
    }
    TryLock(const TryLock&) = delete;
    TryLock& operator=(const TryLock&) = delete;
    explicit operator bool() const { return holds; }

 private:
    std::atomic_flag& flag;
    bool holds;
};

}  // namespace

std::array<int64_t, RecentTimes::kMost> RecentTimes::Sorted() const {
    std::array<int64_t, kMost> sorted = times;
    std::sort(sorted.begin(), sorted.begin() + static_cast<ptrdiff_t>(Count()));
    return sorted;
}

int64_t RecentTimes::Quantile(double share) const {
    const size_t index = std::min(Count() - 1, static_cast<size_t>(share * static_cast<double>(Count())));
    return Sorted()[index];
}

void MachineWaits::LearnOfWakeUp(int64_t time) {
    if (const TryLock lock(isLearning); lock) {
        wakeUps.Add(std::min(time, kMostWakeUp));
        wakeUp.store(wakeUps.Quantile(0.5), std::memory_order_relaxed);
    }
}

void MachineWaits::LearnOfWatch(int64_t late) {
    const int64_t lost = loss.load(std::memory_order_relaxed) + late - WakeUp();
    if (lost > kWakeUpsPerSign * WakeUp()) {
        const uint32_t count = sleepsAtNextSign.load(std::memory_order_relaxed);
        sleeps.store(count, std::memory_order_relaxed);
        sleepsAtNextSign.store(std::min(4 * count, kMostSleeps), std::memory_order_relaxed);
        timely.store(0, std::memory_order_relaxed);
        loss.store(0, std::memory_order_relaxed);
        return;
    }
    loss.store(std::max<int64_t>(lost, 0), std::memory_order_relaxed);
    if (timely.fetch_add(1, std::memory_order_relaxed) == kManyTimely) {
        sleepsAtNextSign.store(kFewestSleeps, std::memory_order_relaxed);
    }
}

bool MachineWaits::MayWatch() {
    const uint32_t left = sleeps.load(std::memory_order_relaxed);
    if (left != 0) {
        sleeps.store(left - 1, std::memory_order_relaxed);
    }
    return left == 0;
}

WaitPlan WaitPolicy::Plan(uint32_t kind, bool isIdleWait) {
    const TryLock lock(isUsed);
    if (!lock) {
        return {};
    }
    Kind& known = kinds[kind % kKinds];
    if (known.untilNextPlan == 0) {
        known.plan = Cheapest(known, isIdleWait);
        known.untilNextPlan = kWaitsPerPlan;
    }
    return known.plan;
}

void WaitPolicy::Learn(uint32_t kind, int64_t took) {
    if (const TryLock lock(isUsed); lock) {
        Kind& known = kinds[kind % kKinds];
        known.took.Add(std::max<int64_t>(took, 0));
        // An unexpected time causes a new plan at once.
        const bool isExpected = took >= known.plan.watchFrom && took <= known.plan.watchUntil;
        known.untilNextPlan -= isExpected && known.untilNextPlan != 0 ? 1 : known.untilNextPlan;
    }
}

void WaitPolicy::LearnOfTimer(uint32_t kind, int64_t late) {
    if (const TryLock lock(isUsed); lock) {
        kinds[kind % kKinds].timerLate.Add(late);
    }
}

WaitPlan WaitPolicy::Cheapest(const Kind& kind, bool isIdleWait) const {
    const int64_t wakeUp = machine.WakeUp();
    const size_t count = kind.took.Count();
    const std::array<int64_t, RecentTimes::kMost> took = kind.took.Sorted();
    const bool knowsTimer = kind.timerLate.Count() != 0;
    const int64_t late = knowsTimer ? kind.timerLate.Quantile(0.5) : wakeUp;
    const int64_t latest = knowsTimer ? kind.timerLate.Quantile(0.9) : 2 * wakeUp;
    // A client also watches for a host that slept. A host does not: it would use too much processor time between calls.
    const int64_t margin = wakeUp / 2 + (isIdleWait ? 0 : wakeUp);

    WaitPlan cheapest;
    int64_t least = static_cast<int64_t>(count) * wakeUp * kWatchesPerWakeUp;  // the cost if all waits only sleep
    const auto consider = [&](WaitPlan plan) {
        const int64_t begin = plan.watchFrom == 0 ? 0 : plan.watchFrom + late;
        if (plan.watchUntil <= begin ||
            (isIdleWait && plan.watchFrom != 0 && (plan.watchUntil - begin) * kIdleWaitsPerWatch > begin)) {
            return;
        }
        int64_t cost = 0;
        for (size_t i = 0; i < count; ++i) {
            const int64_t watched = std::min(took[i], plan.watchUntil) - begin;
            const bool timerWakes = plan.watchFrom != 0 && watched >= 0;
            cost += std::max<int64_t>(watched, 0) + (timerWakes ? wakeUp : 0);
            cost += watched < 0 || took[i] > plan.watchUntil ? wakeUp * kWatchesPerWakeUp : 0;
            if (cost >= least) {
                return;
            }
        }
        least = cost;
        cheapest = plan;
    };
    for (size_t until = 0; until < count; ++until) {
        if (took[until] == kNever) {
            break;
        }
        const int64_t watchUntil = took[until] + margin;
        consider({0, watchUntil});
        for (size_t from = 0; from <= std::min(until, kEarliest); ++from) {
            if (const int64_t watchFrom = took[from] - latest; watchFrom > latest) {
                consider({watchFrom, watchUntil});
            }
        }
    }
    return cheapest;
}

}  // namespace Orvane::Platform
