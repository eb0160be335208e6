#include "platform/event.h"

#include "platform/posix/shared_object.h"
#include "platform/process.h"

#include <immintrin.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <utility>

namespace Orvane::Platform {

namespace {

using Clock = std::chrono::steady_clock;

// What lies in the shared memory.
struct Word {
    std::atomic<uint32_t> signalled;
    std::atomic<uint32_t> waiters;  // may stay too high when a waiter is killed; that costs a needless wake-up
    std::atomic<uint32_t> setter;   // the processor that the last set came from, plus 1
    std::atomic<uint32_t> isBusy;   // to the setter others want the processors
    std::atomic<uint64_t> setAt;    // the time of the last set
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && std::atomic<uint64_t>::is_always_lock_free);

// A wait watches the word before it sleeps, because waking a sleeper takes longer than a short exchange. For a few
// microseconds it does nothing else: copies of common sizes are over by then. After that it lets whatever else
// wants the processor run between two looks, such as a thread of the inference that is waited for.
constexpr auto kWatchAlone = std::chrono::microseconds(5);

// When others want the processor, one that was given up comes back whole time slices later, while a sleeper is woken at
// once. So a watch that learns of a set late is a sign to sleep for some waits, and for four times as many at each
// further sign: a try on a busy machine costs some milliseconds. Many timely watches end that.
constexpr int64_t kLate = 100'000;  // nanoseconds
constexpr uint32_t kFewestSleeps = 32;
constexpr uint32_t kMostSleeps = 16384;
constexpr uint32_t kManyTimely = 1000;

// Of all waits of this process: how busy the machine is does not depend on the event. Threads that count at the same
// time may count one wait for two, or two for one.
class {
 public:
    bool IsBusy() const { return sleeps.load(std::memory_order_relaxed) != 0; }

    // Whether the next wait is to watch; counts it when it is not.
    bool MayWatch() {
        const uint32_t left = sleeps.load(std::memory_order_relaxed);
        sleeps.store(left - (left != 0 ? 1 : 0), std::memory_order_relaxed);
        return left == 0;
    }

    void LearnOfWatch(bool wasLate) {
        if (wasLate) {
            const uint32_t count = sleepsAtNextSign.load(std::memory_order_relaxed);
            sleeps.store(count, std::memory_order_relaxed);
            sleepsAtNextSign.store(std::min(4 * count, kMostSleeps), std::memory_order_relaxed);
            timely.store(0, std::memory_order_relaxed);
        } else if (timely.fetch_add(1, std::memory_order_relaxed) == kManyTimely) {
            sleepsAtNextSign.store(kFewestSleeps, std::memory_order_relaxed);
        }
    }

 private:
    std::atomic<uint32_t> sleeps{0};  // waits to come that sleep at once
    std::atomic<uint32_t> sleepsAtNextSign{kFewestSleeps};
    std::atomic<uint32_t> timely{0};  // watches since the last sign
} machine;

// How long a wait watches. The long watch is for results that come in its time: where they take longer, its looks and
// yields would only hold up the threads that compute them.
constexpr std::chrono::nanoseconds kShortWatch = std::chrono::microseconds(50);
constexpr std::chrono::nanoseconds kLongWatch = std::chrono::microseconds(500);

uint64_t Nanoseconds(Clock::time_point time) {
    return static_cast<uint64_t>(std::chrono::nanoseconds(time.time_since_epoch()).count());
}

bool Take(Word& word) {
    uint32_t set = 1;
    return word.signalled.load(std::memory_order_relaxed) == 1 && word.signalled.compare_exchange_strong(set, 0);
}

// The peer, as it last set the word, was on the processor that this thread is on.
bool SharesProcessor(const Word& word) {
    return word.setter.load(std::memory_order_relaxed) == static_cast<uint32_t>(sched_getcpu()) + 1;
}

// Moves this thread to another processor that it may run on; false when there is none. Its affinity is as before.
bool StepAside() {
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) {
        return false;
    }
    cpu_set_t others = allowed;
    CPU_CLR(static_cast<size_t>(sched_getcpu()), &others);
    return sched_setaffinity(0, sizeof others, &others) == 0 && sched_setaffinity(0, sizeof allowed, &allowed) == 0;
}

// False when it was not set meanwhile.
bool Watch(Word& word, std::chrono::nanoseconds atMost, Awaited awaited) {
    // Systems like to keep two processes that wake each other on one processor, where an exchange takes ten times as
    // long. The side that waits for the result moves away, and not both, which would meet again. Watching where the
    // peer is to run would only hold it up: then every look is followed by a yield.
    const bool together = SharesProcessor(word) && (awaited == Awaited::Work || !StepAside());
    const auto start = Clock::now();
    auto now = start;
    for (; !Take(word); now = Clock::now()) {
        if (now - start >= atMost) {
            return false;
        }
        if (together || now - start > kWatchAlone) {
            sched_yield();
        } else {
            _mm_pause();
        }
    }
    machine.LearnOfWatch(static_cast<int64_t>(Nanoseconds(now) - word.setAt.load(std::memory_order_relaxed)) > kLate);
    return true;
}

// Sleeps while the word is not signalled; returns for any reason, also none.
void Sleep(Word& word, std::chrono::nanoseconds atMost, bool forever) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(atMost);
    const timespec limit{seconds.count(), (atMost - seconds).count()};
    word.waiters.fetch_add(1);
    syscall(SYS_futex, &word.signalled, FUTEX_WAIT, 0, forever ? nullptr : &limit, nullptr, 0);
    word.waiters.fetch_sub(1);
}

}  // namespace

struct Event::State {
    // `ownName` is empty on the side that opened. Empty, and nothing of a new object stays, for what is no event.
    static Event Own(Descriptor object, const std::string& ownName) {
        Event event;
        if (Word* word = Map(object); word != nullptr) {
            event.state = UniqueHandle<Closing>(new State{*word, std::move(object), ownName, {}});
        } else if (object && !ownName.empty()) {
            RemoveSharedObjectName(ownName, object);
        }
        return event;
    }

    // Null, with EINVAL, for an object of another size.
    static Word* Map(const Descriptor& object) {
        struct stat attributes {};
        if (!object || fstat(object.Get(), &attributes) != 0) {
            return nullptr;
        }
        if (attributes.st_size != sizeof(Word)) {
            errno = EINVAL;
            return nullptr;
        }
        void* memory = mmap(nullptr, sizeof(Word), PROT_READ | PROT_WRITE, MAP_SHARED, object.Get(), 0);
        return memory != MAP_FAILED ? static_cast<Word*>(memory) : nullptr;
    }

    Word& word;
    Descriptor object;  // with its maker's lock on it; none on the side that opened
    std::string name;
    ProcessMark maker;
    std::atomic<bool> isWorthALongWatch = true;  // as the last result showed that a short one would miss

    std::chrono::nanoseconds WatchFor(Awaited awaited) const {
        const bool isLong = awaited == Awaited::Result && isWorthALongWatch.load(std::memory_order_relaxed);
        return isLong ? kLongWatch : kShortWatch;
    }

    // Of a wait from `start` on, at whose end the result was there or not.
    void LearnOfResult(Clock::time_point start, bool wasThere) {
        const uint64_t end = wasThere ? word.setAt.load(std::memory_order_relaxed) : Nanoseconds(Clock::now());
        const std::chrono::nanoseconds took(static_cast<int64_t>(end - Nanoseconds(start)));
        if (took > kShortWatch) {
            isWorthALongWatch.store(took <= kLongWatch, std::memory_order_relaxed);
        }
    }
};

void Event::Closing::Close(Value event) noexcept {
    munmap(&event->word, sizeof(Word));
    if (!event->name.empty() && event->maker.IsThisProcess()) {
        RemoveSharedObjectName(event->name, event->object);
    }
    delete event;
}

Event Event::Create(const std::string& name) {
    return State::Own(CreateSharedObject(name, sizeof(Word)), name);
}

Event Event::Open(const std::string& name) {
    Event event = State::Own(OpenSharedObject(name), "");
    if (event) {
        Descriptor& object = event.state.Get()->object;
        RemoveSharedObjectName(name, object);
        object.Close();
    }
    return event;
}

bool Event::Set() {
    Word& word = state.Get()->word;
    word.setter.store(static_cast<uint32_t>(sched_getcpu()) + 1, std::memory_order_relaxed);
    word.isBusy.store(machine.IsBusy() ? 1 : 0, std::memory_order_relaxed);
    word.setAt.store(Nanoseconds(Clock::now()), std::memory_order_relaxed);
    // Both sides first write and then read the other's word, so that at least one of them sees the other.
    word.signalled.store(1);
    if (word.waiters.load() != 0) {
        // All waiters, though only one of them takes the signal. A program of the same user that has the word open for
        // reading can wait for it too, and would otherwise be the one that is woken.
        syscall(SYS_futex, &word.signalled, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
    }
    return true;
}

bool Event::Wait(uint32_t milliseconds, Awaited awaited) {
    Word& word = state.Get()->word;
    if (Take(word)) {
        return true;
    }
    const bool forever = milliseconds == kForever;
    const std::chrono::nanoseconds limit = std::chrono::milliseconds(milliseconds);
    const auto start = Clock::now();
    const bool peerIsBusy = word.isBusy.load(std::memory_order_relaxed) != 0;
    bool taken =
        machine.MayWatch() && !peerIsBusy && Watch(word, std::min(state.Get()->WatchFor(awaited), limit), awaited);
    for (auto now = Clock::now(); !taken && (forever || now - start < limit); now = Clock::now()) {
        Sleep(word, start + limit - now, forever);
        taken = Take(word);
    }
    if (awaited == Awaited::Result) {
        state.Get()->LearnOfResult(start, taken);
    }
    return taken;
}

}  // namespace Orvane::Platform
