#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>

namespace Orvane {

// Bytes of the caller, or of the set's own when they came from a flat form.
struct OptionBuffer {
    const void* data = nullptr;
    uint32_t size = 0;
    std::unique_ptr<uint8_t[]> owned;
};

// A value of an option set. The place of a type in this list is its tag in the flat form.
using OptionValue = std::variant<bool, float, double, int32_t, int64_t, std::string, OptionBuffer>;
using OptionValues = std::map<std::string, OptionValue, std::less<>>;

// The flat byte form of an option set, little-endian and without padding:
//
//   u64 number of entries, then each entry in key order:
//   u64 key length, key bytes, u8 tag, then by tag
//     0 u8 boolean   1 f32   2 f64   3 i32   4 i64   5 u64 length and text bytes   6 u32 length and bytes

// Returns the form's size in bytes; 0 when `capacity` is not enough for it. Over no memory it only measures.
uint64_t WriteFlatForm(const OptionValues& values, void* buffer, uint64_t capacity);

// Adds the form's entries to `values`; nothing points into `data` afterwards. False when the form is cut or its lengths
// pass its end; `values` then has what stood before the fault.
// Texts, and keys of anything but buffers, end at their first zero byte. A buffer without bytes becomes a boolean
// false. An entry with another tag is dropped, but not its value, which is read as the next entry. May read the one
// byte behind `data`.
bool ReadFlatForm(const void* data, uint64_t size, OptionValues& values);

}  // namespace Orvane
