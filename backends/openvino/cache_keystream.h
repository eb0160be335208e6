#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Orvane {

// A build constant: only a build with the same 256 bytes can read a cache file.
extern const std::array<uint8_t, 256> kCacheKeystream;

// Scrambles `size` bytes in place; a second call restores them. `position` is the offset of the first byte in the cache
// file.
void ApplyCacheKeystream(uint64_t position, uint8_t* data, size_t size);

}  // namespace Orvane
