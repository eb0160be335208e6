#include "backends/openvino/aligned_buffer.h"

#include "platform/memory.h"

#include <cstring>

namespace Orvane {

namespace {

uint8_t* Allocate(uint64_t byteSize) {
    if (byteSize > static_cast<uint64_t>(PTRDIFF_MAX)) {
        throw std::bad_alloc();  // rounding such a size up to the alignment would wrap around
    }
    return static_cast<uint8_t*>(::operator new[](byteSize, AlignedBuffer::kAlignment));
}

}  // namespace

AlignedBuffer::AlignedBuffer(uint64_t byteSize) : bytes(Allocate(byteSize)), size(byteSize) {}

AlignedBuffer AlignedBuffer::ZeroFilled(uint64_t byteSize) {
    AlignedBuffer buffer(byteSize);
    std::memset(buffer.Data(), 0, byteSize);
    return buffer;
}

AlignedBuffer AlignedBuffer::ForOverwrite(uint64_t byteSize) {
    AlignedBuffer buffer(byteSize);
    Platform::PreferLargePages(buffer.Data(), byteSize);
    return buffer;
}

}  // namespace Orvane
