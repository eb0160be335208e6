#include "backends/openvino/aligned_buffer.h"

#include "platform/memory.h"

#include <cstring>

namespace Orvane {

namespace {

constexpr std::align_val_t kAlignment{64};

uint8_t* Allocate(uint64_t byteSize, std::align_val_t alignment) {
    if (byteSize > static_cast<uint64_t>(PTRDIFF_MAX)) {
        throw std::bad_alloc();  // rounding such a size up to the alignment would wrap around
    }
    return static_cast<uint8_t*>(::operator new[](byteSize, alignment));
}

}  // namespace

AlignedBuffer::AlignedBuffer(uint64_t byteSize, std::align_val_t alignment)
    : bytes(Allocate(byteSize, alignment), Free{alignment}), size(byteSize) {}

AlignedBuffer AlignedBuffer::ZeroFilled(uint64_t byteSize) {
    AlignedBuffer buffer(byteSize, kAlignment);
    std::memset(buffer.Data(), 0, byteSize);
    return buffer;
}

AlignedBuffer AlignedBuffer::ForOverwrite(uint64_t byteSize) {
    const bool fillsLargePages = byteSize >= 2 * Platform::kLargePage;
    AlignedBuffer buffer(byteSize, fillsLargePages ? std::align_val_t{Platform::kLargePage} : kAlignment);
    Platform::PreferLargePages(buffer.Data(), byteSize);
    return buffer;
}

}  // namespace Orvane
