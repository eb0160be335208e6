#pragma once

#include <cstdint>
#include <memory>
#include <new>

namespace Orvane {

// Owned bytes that start on a 64-byte boundary: the runtime then works on them in place instead of copying them once
// more.
class AlignedBuffer {
 public:
    // Both throw `std::bad_alloc` when there is no such memory.
    static AlignedBuffer ZeroFilled(uint64_t byteSize);
    static AlignedBuffer ForOverwrite(uint64_t byteSize);  // holds anything, and is to be filled as a whole

    // Not null for 0 bytes either. The bytes stay where they are when the buffer object moves.
    uint8_t* Data() { return bytes.get(); }
    uint64_t Size() const { return size; }

 private:
    struct Free {
        void operator()(uint8_t* memory) const { ::operator delete[](memory, alignment); }
        std::align_val_t alignment;
    };

    AlignedBuffer(uint64_t byteSize, std::align_val_t alignment);

    std::unique_ptr<uint8_t[], Free> bytes;
    uint64_t size;
};

}  // namespace Orvane
