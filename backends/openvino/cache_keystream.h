#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Orvane {

// A build constant: a cache file is readable only by a build with the same 256 bytes.
extern const std::array<uint8_t, 256> kCacheKeystream;

// Scrambles `size` bytes in place, or brings them back; `position` is the first byte's place in the cache file.
void ApplyCacheKeystream(uint64_t position, uint8_t* data, size_t size);

}  // namespace Orvane
