#pragma once

#include <cstdint>

namespace Orvane::Platform {

// Size of a large page in bytes. Large pages are aligned to their size.
constexpr uint64_t kLargePage = 2'097'152;

// Informs the system that the caller is about to fill all of these untouched bytes. The system may then use large
// pages, which takes a tenth of the time. Does nothing where this needs privileges.
void PreferLargePages(void* memory, uint64_t size) noexcept;

// Asks the system to leave these bytes out of core files. Works on whole pages: bytes in pages shared with other data
// may still be written.
void ExcludeFromCoreFiles(void* memory, uint64_t size) noexcept;

}  // namespace Orvane::Platform
