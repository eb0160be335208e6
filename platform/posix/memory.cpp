#include "platform/memory.h"

#include "platform/last_error.h"

#include <sys/mman.h>
#include <unistd.h>

namespace Orvane::Platform {

namespace {

// Advises the system about the whole pages in these bytes. The system may refuse.
void Advise(void* memory, uint64_t size, int advice) {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t beforeFirstPage = (page - reinterpret_cast<uintptr_t>(memory) % page) % page;
    if (beforeFirstPage < size) {
        const LastErrorGuard guard;
        madvise(static_cast<uint8_t*>(memory) + beforeFirstPage, size - beforeFirstPage, advice);
    }
}

}  // namespace

void PreferLargePages(void* memory, uint64_t size) noexcept {
    Advise(memory, size, MADV_HUGEPAGE);
}

void ExcludeFromCoreFiles(void* memory, uint64_t size) noexcept {
    const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    const uint64_t inLastPage = (reinterpret_cast<uintptr_t>(memory) + size) % page;
    if (size > page + inLastPage) {
        Advise(memory, size - inLastPage, MADV_DONTDUMP);
    }
}

}  // namespace Orvane::Platform
