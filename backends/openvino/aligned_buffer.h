#pragma once

#include <cstdint>
#include <memory>
#include <new>

namespace Orvane {

// Owns bytes that are aligned to 64 bytes. The runtime uses such bytes in place instead of copying them.
class AlignedBuffer {
 public:
    // Both throw `std::bad_alloc` if there is not enough memory.
    static AlignedBuffer ZeroFilled(uint64_t byteSize);
    static AlignedBuffer ForOverwrite(uint64_t byteSize);  // undefined content: fill all of it

    // Not null, even for 0 bytes. A move of the buffer object does not move the bytes.
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
