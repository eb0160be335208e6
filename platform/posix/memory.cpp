#include "platform/memory.h"

#include "platform/last_error.h"

#include <sys/mman.h>
#include <unistd.h>

namespace Orvane::Platform {

void PreferLargePages(void* memory, uint64_t size) noexcept {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t beforeFirstPage = (page - reinterpret_cast<uintptr_t>(memory) % page) % page;
    if (beforeFirstPage < size) {
        const LastErrorKept kept;
        // Only advice: the system may refuse it.
        madvise(static_cast<uint8_t*>(memory) + beforeFirstPage, size - beforeFirstPage, MADV_HUGEPAGE);
    }
}

}  // namespace Orvane::Platform
