#pragma once

#include <cstdint>

namespace Orvane::Platform {

// Tells the system that these bytes, still untouched, are about to be filled as a whole: it may then provide them in
// large pages, which takes a tenth of the time. Does nothing where only a privileged process may ask.
void PreferLargePages(void* memory, uint64_t size) noexcept;

}  // namespace Orvane::Platform
