#pragma once

#include "backends/openvino/aligned_buffer.h"

#include <cstdint>
#include <iosfwd>

namespace Orvane {

struct StreamContent {
    AlignedBuffer bytes;
    uint64_t size;  // may be less than the buffer's
};

// The stream's bytes from where it stands to its end, or to where reading fails. A stream that can tell its size is
// read into memory of that size. Throws `std::bad_alloc` when there is no such memory.
StreamContent ReadToEnd(std::istream& stream);

}  // namespace Orvane
