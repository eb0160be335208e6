#include "ipc/message_buffer.h"

#include "core/errors.h"
#include "platform/copy_data.h"
#include "platform/process.h"

#include <bit>
#include <cstring>
#include <stdexcept>

namespace Orvane {

static_assert(std::endian::native == std::endian::little, "values are copied as they lie in memory");

void MessageBuffer::Attach(uint8_t* memory, uint32_t size) {
    base = memory;
    capacity = size;
    cursor = 0;
    readLimit = UINT64_MAX;
}

void MessageBuffer::WriteUInt32(uint32_t value) {
    const uint32_t tag = sizeof value;
    Write(&tag, sizeof tag);
    Write(&value, sizeof value);
}

void MessageBuffer::WriteUInt64(uint64_t value) {
    const uint32_t tag = sizeof value;
    Write(&tag, sizeof tag);
    Write(&value, sizeof value);
}

void MessageBuffer::WriteString(std::string_view text) {
    const uint32_t tag = sizeof text.front();
    const auto length = static_cast<uint32_t>(text.size());
    Write(&tag, sizeof tag);
    Write(&length, sizeof length);
    Write(text.data(), length);
}

void MessageBuffer::WriteStatus(const Status& status) {
    WriteUInt32(static_cast<uint32_t>(status.code));
    WriteString(status.message);
}

void MessageBuffer::WriteBytes(const void* data, uint32_t size) {
    WriteUInt32(size);
    Write(data, size);
}

uint8_t* MessageBuffer::ReserveBytes(uint32_t size) {
    uint8_t* const run = base + cursor;
    cursor += size;
    return run;
}

uint32_t MessageBuffer::ReadUInt32() {
    ExpectTag(sizeof(uint32_t));
    return ReadWord();
}

std::string MessageBuffer::ReadString() {
    ExpectTag(sizeof(char));
    const uint32_t length = ReadWord();
    return {reinterpret_cast<const char*>(Read(length)), length};
}

Status MessageBuffer::ReadStatus() {
    const auto code = static_cast<int32_t>(ReadUInt32());
    const std::string message = ReadString();
    return message.empty() && code == 0 ? MakeSuccessStatus() : MakeErrorStatus(message, code);
}

MessageBuffer::Bytes MessageBuffer::ReadBytes() {
    const uint32_t size = ReadUInt32();
    return {Read(size), size};
}

void MessageBuffer::Write(const void* item, uint32_t size) {
    if (size == 0) {
        return;
    }
    // Deliberately in 32 bits: if the cursor exceeds the capacity, the room wraps around to a large number. Senders are
    // responsible for lengths.
    const uint32_t room = Room();
    if (base == nullptr || size > room) {
        if (base != nullptr) {
            std::memset(base + cursor, 0, room);
        }
        Platform::FailFast();
    }
    if (item != base + cursor) {
        Platform::CopyData(base + cursor, item, size);
    }
    cursor += size;
}

uint8_t* MessageBuffer::Read(uint32_t size) {
    if (base == nullptr) {
        Platform::FailFast();
    }
    if (uint64_t{cursor} + size > readLimit) {
        throw OverrunError();
    }
    return ReserveBytes(size);
}

uint32_t MessageBuffer::ReadWord() {
    uint32_t word = 0;
    std::memcpy(&word, Read(sizeof word), sizeof word);
    return word;
}

void MessageBuffer::ExpectTag(uint32_t tag) {
    if (ReadWord() != tag) {
        throw std::runtime_error("读取类型和写入大小不匹配");
    }
}

}  // namespace Orvane
