#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Orvane::Platform {

// All times here are in nanoseconds.

// The most recent times, for quantiles.
class RecentTimes {
 public:
    static constexpr size_t kMost = 16;

    void Add(int64_t time) {
        times[next % kMost] = time;
        ++next;
    }
    size_t Count() const { return next < kMost ? next : kMost; }

    // In ascending order. Only the first `Count()` elements are times.
    std::array<int64_t, kMost> Sorted() const;

    // Needs at least one time. 0.5 is the median.
    int64_t Quantile(double share) const;

 private:
    std::array<int64_t, kMost> times{};
    size_t next = 0;
};

// What this process has learned about its machine, from all its waits.
// Thread-safe. If threads learn at the same moment, one of their times may be lost.
class MachineWaits {
 public:
    // The median time from a wake until the sleeper runs; 0 before the first. Times above one millisecond count as one
    // millisecond, because the other process may report any time.
    int64_t WakeUp() const { return wakeUp.load(std::memory_order_relaxed); }
    void LearnOfWakeUp(int64_t time);

    // `late`: how long after a set a watch that yielded saw it. If other threads want the processor, a thread that
    // yielded gets it back whole time slices later, but a sleeper is woken at once. So if watches see sets later than
    // sleepers would, by several wake-ups in all, this is a sign of a busy machine: some waits sleep. Each further sign
    // multiplies their number by four. Many timely watches reset that number.
    void LearnOfWatch(int64_t late);

    // True while such signs make the next waits sleep.
    bool IsBusy() const { return sleeps.load(std::memory_order_relaxed) != 0; }

    // True if the next wait may watch. Otherwise this counts the wait as one that sleeps.
    bool MayWatch();

 private:
    static constexpr uint32_t kFewestSleeps = 32;
    static constexpr uint32_t kMostSleeps = 16'384;
    static constexpr uint32_t kManyTimely = 1'000;

    std::atomic<int64_t> wakeUp{0};
    std::atomic<uint32_t> sleeps{0};  // how many of the next waits sleep at once
    std::atomic<uint32_t> sleepsAtNextSign{kFewestSleeps};
    std::atomic<uint32_t> timely{0};  // watches since the last sign
    std::atomic<int64_t> loss{0};     // what recent watches lost against sleeping
    std::atomic_flag isLearning{};
    RecentTimes wakeUps;
};

// What a wait does, in times since its start. It sleeps until `watchFrom` unless it is woken, watches until
// `watchUntil`, then sleeps until it is woken. Both are 0 for a wait that only sleeps.
struct WaitPlan {
    int64_t watchFrom = 0;
    int64_t watchUntil = 0;
};

// Plans the waits for one event. It chooses the plan that would have cost least for the last waits of the same kind. A
// wait that sleeps when the event is set costs a wake-up. Watching costs a share of its time, because other threads
// lose the processor.
// Thread-safe like `MachineWaits`. While another thread changes the plans, a wait sleeps.
class WaitPolicy {
 public:
    static constexpr uint32_t kKinds = 16;
    static constexpr int64_t kNever = INT64_MAX;

    explicit WaitPolicy(MachineWaits& waits) : machine(waits) {}

    // `isIdleWait`: the event may never be set. Such a wait may watch only for a small part of its time, unless it
    // expects the event at once.
    WaitPlan Plan(uint32_t kind, bool isIdleWait);

    // `took`: the time from the start of a wait until the event was set; `kNever` if it was not set.
    void Learn(uint32_t kind, int64_t took);

    // `late`: how much later than `watchFrom` a wait that slept until then woke up.
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
