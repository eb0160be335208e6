#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>

namespace Orvane {

// Bytes that the caller owns, or that the set owns if they came from a flat form.
struct OptionBuffer {
    const void* data = nullptr;
    uint32_t size = 0;
    std::unique_ptr<uint8_t[]> owned;
};

// A value of an option set. The index of a type in this list is its tag in the flat form.
using OptionValue = std::variant<bool, float, double, int32_t, int64_t, std::string, OptionBuffer>;
using OptionValues = std::map<std::string, OptionValue, std::less<>>;

// The flat byte form of an option set, little-endian and without padding:
//
//   u64 number of entries, then each entry in key order:
//   u64 key length, key bytes, u8 tag, then by tag
//     0 u8 boolean   1 f32   2 f64   3 i32   4 i64   5 u64 length and text bytes   6 u32 length and bytes

// Returns the size of the form in bytes, or 0 if `capacity` is too small. If `buffer` is null, only measures.
uint64_t WriteFlatForm(const OptionValues& values, void* buffer, uint64_t capacity);

// Adds the entries of the form to `values`. Copies the data. Returns false if the form is truncated or a length exceeds
// it; `values` then has the entries before the fault.
// Texts, and keys of all types but buffers, end at their first zero byte. An empty buffer becomes a boolean false. An
// entry with an unknown tag is dropped, but its value is read as the next entry. May read the byte after `data`.
bool ReadFlatForm(const void* data, uint64_t size, OptionValues& values);

}  // namespace Orvane
