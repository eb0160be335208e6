#pragma once

#include <orvane/status.h>

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace Orvane {

// The typed encoding of values in a channel's shared memory. Values are little-endian and follow each other directly:
//
//   u32      tag 4, u32 value; signed values and status codes as their bits
//   u64      tag 8, u64 value
//   string   tag 1, u32 length in bytes, the bytes without a terminating zero
//   run      u32 as above with the length, then the bytes without a tag
//   status   u32 as above with the code, then the message as a string
//
// A tag is a u32 with the byte size of one element. If a typed read finds another tag, it throws `std::runtime_error`.
// The host process does not catch it, so a wrong request ends it. A write that does not fit ends the process.
class MessageBuffer {
 public:
    class OverrunError : public std::exception {};

    // A byte run inside the buffer.
    struct Bytes {
        uint8_t* data;
        uint32_t size;
    };

    // Makes the buffer use `size` bytes of `memory`, which the caller owns. Null detaches the buffer. Reads have no
    // limit: if a length in a message exceeds the buffer, they read beyond it.
    void Attach(uint8_t* memory, uint32_t size);

    // From now on a read beyond the first `size` bytes throws `OverrunError`.
    void LimitReads(uint32_t size) { readLimit = size; }
    bool IsAttached() const { return base != nullptr; }
    uint32_t Capacity() const { return capacity; }

    // Call this before you write or read a request, and before you write or read its reply.
    void Rewind() { cursor = 0; }

    void WriteUInt32(uint32_t value);
    void WriteUInt64(uint64_t value);
    void WriteString(std::string_view text);
    void WriteStatus(const Status& status);

    // Copies nothing if `data` already is the place of the bytes in the message.
    void WriteBytes(const void* data, uint32_t size);

    // Returns the next `size` bytes, which the caller fills. Does not check the capacity.
    uint8_t* ReserveBytes(uint32_t size);

    // Bytes that still fit.
    uint32_t Room() const { return capacity - cursor; }

    uint32_t ReadUInt32();
    std::string ReadString();

    // Logs and returns a failure if the message is not empty or the code is not 0.
    Status ReadStatus();

    // Returns a pointer into the buffer.
    Bytes ReadBytes();

 private:
    void Write(const void* item, uint32_t size);
    uint8_t* Read(uint32_t size);
    uint32_t ReadWord();
    void ExpectTag(uint32_t tag);

    uint8_t* base = nullptr;
    uint32_t capacity = 0;
    uint32_t cursor = 0;
    uint64_t readLimit = UINT64_MAX;
};

}  // namespace Orvane
