#pragma once

#include <cstdint>

namespace Orvane::Platform {

// Bytes of a large page, which starts at a multiple of them.
constexpr uint64_t kLargePage = 2'097'152;

// Tells the system that these bytes, still untouched, are about to be filled as a whole: it may then provide them in
// large pages, which takes a tenth of the time. Does nothing where only a privileged process may ask.
void PreferLargePages(void* memory, uint64_t size) noexcept;

// Asks the system to write these bytes into no core file, whole pages of them; what stands in pages with others may be.
void LeaveOutOfCoreFiles(void* memory, uint64_t size) noexcept;

}  // namespace Orvane::Platform
