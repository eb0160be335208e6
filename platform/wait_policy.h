#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Orvane::Platform {

// All times here are in nanoseconds.

// The last times of something, for their quantiles.
class RecentTimes {
 public:
    static constexpr size_t kMost = 16;

    void Add(int64_t time) {
        times[next % kMost] = time;
        ++next;
    }
    size_t Count() const { return next < kMost ? next : kMost; }

    // From the shortest to the longest; the first `Count()` are times.
    std::array<int64_t, kMost> Sorted() const;

    // Of at least one time. 0.5 is the median.
    int64_t Quantile(double share) const;

 private:
    std::array<int64_t, kMost> times{};
    size_t next = 0;
};

// What this process has learned about its machine, whatever it waited for.
// Thread-safe. Threads that learn at the same moment may lose what one of them learned.
class MachineWaits {
 public:
    // How long a sleeper takes to run after it was woken: the median. 0 before the first. What is said to take longer
    // than a millisecond is no machine's way to wake a sleeper, and counts as one.
    int64_t WakeUp() const { return wakeUp.load(std::memory_order_relaxed); }
    void LearnOfWakeUp(int64_t time);

    // A watch that learned of a set `late`. When others want the processor, a thread that gave it up gets it back whole
    // time slices later, while a sleeper is woken at once. So a late watch is a sign to sleep for some waits, and for
    // four times as many at each further sign. Many timely watches end that.
    void LearnOfWatch(int64_t late);

    // Whether the last signs say so.
    bool IsBusy() const { return sleeps.load(std::memory_order_relaxed) != 0; }

    // Whether the next wait may watch; counts it if not.
    bool MayWatch();

 private:
    static constexpr uint32_t kFewestSleeps = 32;
    static constexpr uint32_t kMostSleeps = 16'384;
    static constexpr uint32_t kManyTimely = 1'000;

    std::atomic<int64_t> wakeUp{0};
    std::atomic<uint32_t> sleeps{0};  // waits to come that sleep at once
    std::atomic<uint32_t> sleepsAtNextSign{kFewestSleeps};
    std::atomic<uint32_t> timely{0};  // watches since the last sign
    std::atomic_flag isLearning{};
    RecentTimes wakeUps;
};

// What a wait does, in times since its start: sleeps until `watchFrom` unless it is woken, watches until `watchUntil`,
// then sleeps until it is woken. Both are 0 for a wait that only sleeps.
struct WaitPlan {
    int64_t watchFrom = 0;
    int64_t watchUntil = 0;
};

// Plans the waits for one event from how long the last ones of their kind took. The plan is the one that would have
// cost least for them. A wait that is asleep when the event is set costs a wake-up. Watching costs a share of its time,
// because the processor is then lost to others.
// Thread-safe like `MachineWaits`; a plan that another thread is changing is to sleep.
class WaitPolicy {
 public:
    static constexpr uint32_t kKinds = 16;
    static constexpr int64_t kNever = INT64_MAX;

    explicit WaitPolicy(MachineWaits& waits) : machine(waits) {}

    // `isIdleWait`: for what may never come. Such a wait may watch only for a small part of its time, unless the event
    // is expected at once.
    WaitPlan Plan(uint32_t kind, bool isIdleWait);

    // From the start of a wait until the event was set; `kNever` if it was not.
    void Learn(uint32_t kind, int64_t took);

    // How much later than asked a wait that slept until `watchFrom` woke up.
    void LearnOfTimer(uint32_t kind, int64_t late);

 private:
    struct Kind {
        RecentTimes took;
        RecentTimes timerLate;
        WaitPlan plan;
        uint32_t untilNextPlan = 0;
    };

    WaitPlan Cheapest(const Kind& kind, bool isIdleWait) const;

    MachineWaits& machine;
    std::atomic_flag isUsed{};
    std::array<Kind, kKinds> kinds;
};

}  // namespace Orvane::Platform
