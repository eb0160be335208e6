#pragma once

#include <cstddef>

namespace Orvane::Testing {

// How often the calling thread has allocated with `new`, in a program that links allocation_counter.cpp. That
// replaces `new` for the whole program, on Linux also for the shared libraries in it.
size_t AllocationsOfThisThread();

// How often `step` allocates once it has run a few times; the least of several times, because a library that it calls
// may now and then do more.
template <typename Step>
size_t CountAllocations(Step step) {
    size_t least = ~size_t{0};
    for (int i = 0; i < 30; ++i) {
        const size_t before = AllocationsOfThisThread();
        step();
        const size_t count = AllocationsOfThisThread() - before;
        least = i < 10 || count > least ? least : count;
    }
    return least;
}

}  // namespace Orvane::Testing
