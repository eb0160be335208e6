#pragma once

#include <cstddef>

namespace Orvane::Platform {

// `std::memcpy` for tensor data, equally fast for all addresses. For more than 2 KiB `memcpy` uses string instructions.
// Some processors run them at a tenth of their speed if an address is unaligned, as in a message.
// The ranges must not overlap. If `size` is 0, each address may be null.
void CopyData(void* to, const void* from, size_t size);

}  // namespace Orvane::Platform
