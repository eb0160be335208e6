#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace Orvane {

// The flat byte form of an option set, little-endian and without padding:
//
//   u64 number of entries, then each entry in key order:
//   u64 key length, key bytes, u8 tag, then by tag
//     0 u8 boolean   1 f32   2 f64   3 i32   4 i64   5 u64 length and text bytes   6 u32 length and bytes

static_assert(std::endian::native == std::endian::little, "values are copied as they lie in memory");

// A flat form that does not fit or cannot be read. Never leaves the option set.
class FlatFormError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// Writes pieces one behind the other; over no memory it only measures.
class FlatWriter {
 public:
    FlatWriter(void* buffer, uint64_t byteCapacity) : bytes(static_cast<uint8_t*>(buffer)), capacity(byteCapacity) {}

    // Throws `FlatFormError` when the piece does not fit.
    void WriteRun(const void* data, uint64_t length) {
        if (bytes != nullptr) {
            if (length > capacity - position) {
                throw FlatFormError("空间不足");
            }
            if (length != 0) {
                std::memcpy(bytes + position, data, length);
            }
        }
        position += length;
    }

    template <typename T>
    void Write(T value) {
        static_assert(std::is_arithmetic_v<T>);
        WriteRun(&value, sizeof value);
    }

    uint64_t Size() const { return position; }

 private:
    uint8_t* bytes;
    uint64_t capacity;
    uint64_t position = 0;
};

// Reads pieces one behind the other.
class FlatReader {
 public:
    FlatReader(const void* data, uint64_t byteSize) : bytes(static_cast<const uint8_t*>(data)), size(byteSize) {}

    // Throws `FlatFormError` when the value is cut.
    template <typename T>
    T Read() {
        static_assert(std::is_arithmetic_v<T>);
        if (Remaining() < sizeof(T)) {
            throw FlatFormError("读取错误");
        }
        T value;
        std::memcpy(&value, bytes + position, sizeof value);
        position += sizeof value;
        return value;
    }

    // Points to the next `length` bytes, inside the form. Throws `FlatFormError` when they pass its end.
    const char* ReadRun(uint64_t length) {
        if (length > Remaining()) {
            throw FlatFormError("Buffer overflow");
        }
        const uint8_t* run = bytes + position;
        position += length;
        return reinterpret_cast<const char*>(run);
    }

    // Deliberately without a test of the bounds: a producer always writes the tag behind the key.
    // May so read the one byte behind the form.
    uint8_t ReadTag() { return bytes[position++]; }

 private:
    // The position stands one behind the end after a tag that was not there.
    uint64_t Remaining() const { return size - std::min(size, position); }

    const uint8_t* bytes;
    uint64_t size;
    uint64_t position = 0;
};

}  // namespace Orvane
