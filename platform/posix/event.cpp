#include "platform/event.h"

#include "platform/posix/shared_object.h"
#include "platform/wait_policy.h"

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

constexpr int64_t kNever = WaitPolicy::kNever;

// The content of the shared memory.
struct Word {
    std::atomic<uint32_t> signalled;  // a set writes 1, but the other process may write any value
    std::atomic<uint32_t> waiters;    // may stay too high when a waiter is killed; that costs a needless wake-up
    std::atomic<uint32_t> setter;     // the processor of the last set, plus 1
    std::atomic<uint32_t> isBusy;     // the setter found that other threads want the processors
    std::atomic<int64_t> setAt;       // the time of the last set, in nanoseconds
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && std::atomic<int64_t>::is_always_lock_free);

// All waits of this process share it.
MachineWaits machine;

int64_t Now() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool Take(Word& word) {
    return word.signalled.load(std::memory_order_relaxed) != 0 && word.signalled.exchange(0) != 0;
}

// True if the peer last set the word on this thread's processor.
bool SharesProcessor(const Word& word) {
    return word.setter.load(std::memory_order_relaxed) == static_cast<uint32_t>(sched_getcpu()) + 1;
}

enum class Place { WithPeer, Elsewhere };

// Moves this thread to the processor on which the peer last set the word, or away from it. False if the thread may not
// run there. Afterwards the thread may run on all processors that the kernel reported before.
bool MoveTo(Place place, const Word& word) {
    // The peer may have written any number. `CPU_SET` and `CPU_CLR` ignore those that are too large.
    const size_t peer = word.setter.load(std::memory_order_relaxed) - size_t{1};
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) {
        return false;
    }
    cpu_set_t wanted = allowed;
    if (place == Place::Elsewhere) {
        CPU_CLR(peer, &wanted);
    } else {
        CPU_ZERO(&wanted);
        CPU_SET(peer, &wanted);
        CPU_AND(&wanted, &wanted, &allowed);
    }
    return sched_setaffinity(0, sizeof wanted, &wanted) == 0 && sched_setaffinity(0, sizeof allowed, &allowed) == 0;
}

// How long ago the word was set, at most since `start`. The other process may have written any value.
int64_t SinceSet(const Word& word, int64_t start, int64_t now) {
    return now - std::clamp(word.setAt.load(std::memory_order_relaxed), start, now);
}

// False if the word was not set before `end`.
bool Watch(Word& word, int64_t end, Awaited awaited) {
    // Systems tend to keep two processes that wake each other on one processor, where an exchange takes ten times as
    // long. Only the side that waits for the result moves away, because two sides that move could meet again. If both
    // stay on one processor, watching delays the peer, so each look is followed by a yield.
    const bool together = SharesProcessor(word) && (awaited == Awaited::Work || !MoveTo(Place::Elsewhere, word));
    const int64_t start = Now();
    int64_t now = start;
    // A copy of a common size takes less time than a yield.
    const int64_t aloneUntil = together ? now : now + machine.WakeUp() / 8;
    bool hasYielded = false;
    for (; !Take(word); now = Now()) {
        if (now >= end) {
            return false;
        }
        hasYielded = now >= aloneUntil;
        if (hasYielded) {
            sched_yield();  // for example to a thread of the awaited inference
        } else {
            _mm_pause();
        }
    }
    if (hasYielded) {
        machine.LearnOfWatch(SinceSet(word, start, now));
    }
    return true;
}

// Sleeps until `end`, or without limit if `end` is `kNever`. May return early without a reason. True if the word was
// set.
bool Sleep(Word& word, int64_t end) {
    constexpr int64_t kSecond = 1'000'000'000;
    const int64_t start = Now();
    const int64_t atMost = std::max<int64_t>(end - start, 0);
    const timespec limit{atMost / kSecond, atMost % kSecond};
    word.waiters.fetch_add(1);
    const bool isWoken =
        syscall(SYS_futex, &word.signalled, FUTEX_WAIT, 0, end == kNever ? nullptr : &limit, nullptr, 0) == 0;
    word.waiters.fetch_sub(1);
    if (!Take(word)) {
        return false;
    }
    if (isWoken) {  // otherwise the set came before this thread slept, or after the timer
        machine.LearnOfWakeUp(SinceSet(word, start, Now()));
    }
    return true;
}

}  // namespace

struct Event::State {
    // Returns an empty event if the object is not an event.
    static Event Own(SharedObject object) {
        Event event;
        if (Word* word = Map(object.descriptor); word != nullptr) {
            event.state = Owned(new State{*word, std::move(object)}, Close);
        }
        return event;
    }

    // Null on failure, with EINVAL if the object has another size.
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

    static void Close(State* event) noexcept {
        munmap(&event->word, sizeof(Word));
        delete event;
    }

    Word& word;
    SharedObject object;  // without a descriptor on the side that opens
    WaitPolicy policy{machine};
};

Event Event::Create(const std::string& name) {
    Descriptor object = CreateSharedObject(name, sizeof(Word));
    return object ? State::Own(SharedObject(std::move(object), name)) : Event();
}

Event Event::Open(const std::string& name) {
    Event event = State::Own(SharedObject(OpenSharedObject(name)));
    if (event) {
        Descriptor& object = event.state.Get()->object.descriptor;
        RemoveSharedObjectName(name, object);
        object.Close();
    }
    return event;
}

bool Event::Set() {
    Word& word = state.Get()->word;
    word.setter.store(static_cast<uint32_t>(sched_getcpu()) + 1, std::memory_order_relaxed);
    word.isBusy.store(machine.IsBusy() ? 1 : 0, std::memory_order_relaxed);
    word.setAt.store(Now(), std::memory_order_relaxed);
    // Each side first writes its word and then reads the other side's. So at least one side sees the other.
    word.signalled.store(1);
    if (word.waiters.load() != 0) {
        // Wakes all waiters, although only one takes the signal. Another program of the same user can open the word for
        // reading and wait for it. It could otherwise be the only one that is woken.
        syscall(SYS_futex, &word.signalled, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
    }
    return true;
}

bool Event::Wait(uint32_t milliseconds, Awaited awaited, uint32_t kind) {
    Word& word = state.Get()->word;
    WaitPolicy& policy = state.Get()->policy;
    if (Take(word)) {
        policy.Learn(kind, 0);
        return true;
    }
    const int64_t start = Now();
    const int64_t end = milliseconds == kForever ? kNever : start + int64_t{milliseconds} * 1'000'000;
    const bool peerIsBusy = word.isBusy.load(std::memory_order_relaxed) != 0;
    const bool mayWatch = machine.MayWatch() && !peerIsBusy;
    // If all processors are in use, a sleeper runs again soonest on the processor of the thread that wakes it.
    if (!mayWatch && awaited == Awaited::Result && !SharesProcessor(word)) {
        MoveTo(Place::WithPeer, word);
    }
    const WaitPlan plan = mayWatch ? policy.Plan(kind, awaited == Awaited::Work) : WaitPlan();
    bool taken = false;
    if (const int64_t watchFrom = start + plan.watchFrom; plan.watchFrom != 0 && watchFrom < end) {
        taken = Sleep(word, watchFrom);
        if (const int64_t now = Now(); !taken && now >= watchFrom) {
            policy.LearnOfTimer(kind, now - watchFrom);
        }
    }
    taken = taken || (plan.watchUntil != 0 && Watch(word, std::min(start + plan.watchUntil, end), awaited));
    while (!taken && Now() < end) {
        taken = Sleep(word, end);
    }
    const int64_t now = Now();
    policy.Learn(kind, taken ? now - start - SinceSet(word, start, now) : kNever);
    return taken;
}

}  // namespace Orvane::Platform
