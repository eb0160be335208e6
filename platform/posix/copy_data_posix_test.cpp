#include "platform/copy_data.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace Orvane::Platform {
namespace {

// Memory with inaccessible pages before and after it.
class GuardedMemory {
 public:
    explicit GuardedMemory(size_t usable)
        : size(usable + 2 * kPage),
          memory(static_cast<uint8_t*>(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        EXPECT_EQ(mprotect(Begin(), usable, PROT_READ | PROT_WRITE), 0);
    }
    ~GuardedMemory() { munmap(memory, size); }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    uint8_t* Begin() const { return memory + kPage; }
    uint8_t* End() const { return memory + size - kPage; }

 private:
    const size_t kPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size_t size;
    uint8_t* memory;
};

TEST(CopyDataBesideGuardPages, TouchesNoByteOutside) {
    constexpr size_t kUsable = 65'536;
    const GuardedMemory from(kUsable);
    const GuardedMemory to(kUsable);
    std::memset(from.Begin(), 7, kUsable);
    for (size_t size = 0; size < 4500; ++size) {
        CopyData(to.Begin(), from.Begin(), size);
        CopyData(to.End() - size, from.End() - size, size);
        CopyData(to.Begin(), from.End() - size, size);
        CopyData(to.End() - size, from.Begin(), size);
    }
    CopyData(to.Begin(), from.Begin(), kUsable);
    EXPECT_EQ(std::memcmp(to.Begin(), from.Begin(), kUsable), 0);
}

}  // namespace
}  // namespace Orvane::Platform
