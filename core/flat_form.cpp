#include "core/flat_form.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace Orvane {

namespace {

static_assert(std::endian::native == std::endian::little, "values are copied as they lie in memory");

// A flat form does not fit or cannot be read. Never leaves this file.
class FlatFormError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// Writes values one after the other. If the buffer is null, only measures.
class Writer {
 public:
    Writer(void* buffer, uint64_t byteCapacity) : bytes(static_cast<uint8_t*>(buffer)), capacity(byteCapacity) {}

    uint64_t Size() const { return position; }

    void WriteBytes(const void* data, uint64_t length) {
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
        WriteBytes(&value, sizeof value);
    }

    void Write(const std::string& text) {
        Write<uint64_t>(text.size());
        WriteBytes(text.data(), text.size());
    }

    void Write(const OptionBuffer& buffer) {
        Write(buffer.size);
        WriteBytes(buffer.data, buffer.size);
    }

 private:
    uint8_t* bytes;
    uint64_t capacity;
    uint64_t position = 0;
};

class Reader {
 public:
    Reader(const void* data, uint64_t byteSize) : bytes(static_cast<const uint8_t*>(data)), size(byteSize) {}

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

    // Returns a pointer into the form, to the next `length` bytes.
    const char* ReadBytes(uint64_t length) {
        if (length > Remaining()) {
            throw FlatFormError("Buffer overflow");
        }
        const uint8_t* run = bytes + position;
        position += length;
        return reinterpret_cast<const char*>(run);
    }

    // Reads a length and then the text, which may contain zero bytes.
    std::string ReadText() {
        const auto length = Read<uint64_t>();
        return {ReadBytes(length), length};
    }

    // Deliberately does not check bounds: a producer always writes the tag after the key. May read the byte after the
    // form.
    uint8_t ReadTag() { return bytes[position++]; }

 private:
    // If `ReadTag` read the byte after the form, `position` is greater than `size`.
    uint64_t Remaining() const { return size - std::min(size, position); }

    const uint8_t* bytes;
    uint64_t size;
    uint64_t position = 0;
};

OptionValue ReadBuffer(Reader& reader) {
    const auto length = reader.Read<int32_t>();
    if (length <= 0) {
        return false;
    }
    const auto byteCount = static_cast<uint32_t>(length);
    const char* bytes = reader.ReadBytes(byteCount);
    OptionBuffer copy{nullptr, byteCount, std::make_unique<uint8_t[]>(byteCount)};
    std::memcpy(copy.owned.get(), bytes, byteCount);
    copy.data = copy.owned.get();
    return copy;
}

std::string CutAtZero(std::string text) {
    text.resize(std::strlen(text.c_str()));
    return text;
}

void ReadEntry(Reader& reader, OptionValues& values) {
    const std::string key = reader.ReadText();
    switch (reader.ReadTag()) {
        case 0:
            values[key.c_str()] = reader.Read<uint8_t>() != 0;
            break;
        case 1:
            values[key.c_str()] = reader.Read<float>();
            break;
        case 2:
            values[key.c_str()] = reader.Read<double>();
            break;
        case 3:
            values[key.c_str()] = reader.Read<int32_t>();
            break;
        case 4:
            values[key.c_str()] = reader.Read<int64_t>();
            break;
        case 5:
            values[key.c_str()] = CutAtZero(reader.ReadText());
            break;
        case 6:
            values[key] = ReadBuffer(reader);
            break;
        default:  // unknown: stores nothing and does not skip the value
            break;
    }
}

}  // namespace

uint64_t WriteFlatForm(const OptionValues& values, void* buffer, uint64_t capacity) {
    Writer writer(buffer, capacity);
    try {
        writer.Write<uint64_t>(values.size());
        for (const auto& [key, value] : values) {
            writer.Write(key);
            writer.Write(static_cast<uint8_t>(value.index()));
            std::visit([&writer](const auto& alternative) { writer.Write(alternative); }, value);
        }
    } catch (const FlatFormError&) {
        return 0;
    }
    return writer.Size();
}

bool ReadFlatForm(const void* data, uint64_t size, OptionValues& values) {
    Reader reader(data, size);
    try {
        for (auto count = reader.Read<uint64_t>(); count > 0; --count) {
            ReadEntry(reader, values);
        }
    } catch (const FlatFormError&) {
        return false;
    }
    return true;
}

}  // namespace Orvane
