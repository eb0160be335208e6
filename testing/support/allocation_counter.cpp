#include "testing/support/allocation_counter.h"

#include <cstdlib>
#include <new>

namespace {

thread_local size_t allocations = 0;

}  // namespace

size_t Orvane::Testing::AllocationsOfThisThread() {
    return allocations;
}

// The forms for arrays, and those that do not throw, call these.

void* operator new(size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new(size_t size, std::align_val_t alignment) {
    ++allocations;
    const auto boundary = static_cast<size_t>(alignment);
    if (void* const memory = std::aligned_alloc(boundary, size + (boundary - size % boundary))) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
