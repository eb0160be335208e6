#pragma once

#include "backends/openvino/aligned_buffer.h"

#include <cstdint>
#include <iosfwd>

namespace Orvane {

struct StreamContent {
    AlignedBuffer bytes;
    uint64_t size;  // less than `bytes.Size()` if the stream did not know its size, or a read failed
};

// Reads the stream from its position to its end, or until a read fails. If the stream knows its size, the memory has
// this size. Throws `std::bad_alloc` if there is not enough memory.
StreamContent ReadToEnd(std::istream& stream);

}  // namespace Orvane
