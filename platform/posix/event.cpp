#include "platform/event.h"

#include "platform/posix/shared_object.h"

#include <immintrin.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <utility>

namespace Orvane::Platform {

namespace {

using Clock = std::chrono::steady_clock;

// What lies in the shared memory.
struct Word {
    std::atomic<uint32_t> signalled;
    std::atomic<uint32_t> waiters;  // may stay too high when a waiter is killed; that costs a needless wake-up
};
static_assert(std::atomic<uint32_t>::is_always_lock_free);

// A wait spins this long first when the last one was over within it. Long enough for a short exchange to come back
// without two context switches, short enough not to take the processor from the inference that is waited for.
constexpr auto kSpin = std::chrono::microseconds(50);

bool Take(Word& word) {
    uint32_t set = 1;
    return word.signalled.load(std::memory_order_relaxed) == 1 && word.signalled.compare_exchange_strong(set, 0);
}

bool Spin(Word& word) {
    for (const auto end = Clock::now() + kSpin; Clock::now() < end;) {
        if (Take(word)) {
            return true;
        }
        _mm_pause();
    }
    return false;
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
    explicit State(Word& mapped, std::string ownName) : word(mapped), name(std::move(ownName)) {}
    ~State() {
        const int error = errno;
        munmap(&word, sizeof word);
        errno = error;
        if (!name.empty()) {
            RemoveSharedObjectName(name);
        }
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    // The word of an open object; null, with EINVAL, for one that is no event.
    static Word* Map(const Descriptor& object) {
        struct stat attributes {};
        if (!object || fstat(object.Number(), &attributes) != 0) {
            return nullptr;
        }
        if (attributes.st_size != sizeof(Word)) {
            errno = EINVAL;
            return nullptr;
        }
        void* memory = mmap(nullptr, sizeof(Word), PROT_READ | PROT_WRITE, MAP_SHARED, object.Number(), 0);
        return memory != MAP_FAILED ? static_cast<Word*>(memory) : nullptr;
    }

    Word& word;
    std::string name;  // to be removed at the end; empty on the side that opened
    bool lastWaitWasShort = false;
};

Event Event::Create(const std::string& name) {
    Event event;
    if (Word* word = State::Map(CreateSharedObject(name, sizeof(Word))); word != nullptr) {
        event.state = std::make_shared<State>(*word, name);
    }
    return event;
}

Event Event::Open(const std::string& name) {
    Event event;
    if (Word* word = State::Map(OpenSharedObject(name)); word != nullptr) {
        event.state = std::make_shared<State>(*word, "");
    }
    return event;
}

bool Event::Set() {
    // Both sides first write and then read the other's word, so that at least one of them sees the other.
    state->word.signalled.store(1);
    if (state->word.waiters.load() != 0) {
        syscall(SYS_futex, &state->word.signalled, FUTEX_WAKE, 1, nullptr, nullptr, 0);
    }
    return true;
}

bool Event::Wait(uint32_t milliseconds) {
    Word& word = state->word;
    const auto start = Clock::now();
    const auto end = start + std::chrono::milliseconds(milliseconds);
    bool taken = Take(word) || (state->lastWaitWasShort && Spin(word));
    for (auto now = start; !taken && (milliseconds == kForever || now < end); now = Clock::now()) {
        Sleep(word, end - now, milliseconds == kForever);
        taken = Take(word);
    }
    state->lastWaitWasShort = taken && Clock::now() - start < kSpin;
    return taken;
}

}  // namespace Orvane::Platform
