#include "cli/files/npz.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/files/picture.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Orvane::Cli {
namespace {

constexpr std::string_view kEndRecord = "PK\5\6";
constexpr std::string_view kDirectoryEntry = "PK\1\2";
constexpr std::string_view kLocalHeader = "PK\3\4";

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw Failure(path + " is not a readable .npz file: " + why);
}

// A damaged file with a wrong size does not make it allocate too much.
std::string ReadAt(std::istream& file, const std::string& path, uint64_t offset, std::size_t size) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset));
    std::string bytes = ReadAll(file, path, size);
    if (bytes.size() < size) {
        Refuse(path, "it is not a zip archive, or its end is missing");
    }
    return bytes;
}

// Finds the record at the end, which has the place of the directory. A comment of up to 65,535 bytes may follow it.
std::string FindEndRecord(std::istream& file, const std::string& path) {
    constexpr uint64_t kRecordBytes = 22;
    const auto end = file.seekg(0, std::ios::end).tellg();
    const uint64_t size = end < 0 ? 0 : static_cast<uint64_t>(end);
    const uint64_t looked = std::min<uint64_t>(size, kRecordBytes + 0xffff);
    const std::string tail = ReadAt(file, path, size - looked, static_cast<std::size_t>(looked));
    const std::size_t place = tail.rfind(kEndRecord);
    if (place == std::string::npos || tail.size() - place < kRecordBytes) {
        Refuse(path, "it is not a zip archive, or its end is missing");
    }
    return tail.substr(place, kRecordBytes);
}

constexpr std::array<uint32_t, 256> MakeRemainders() {
    std::array<uint32_t, 256> remainders{};
    for (uint32_t byte = 0; byte < remainders.size(); ++byte) {
        uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xedb8'8320 : 0);
        }
        remainders[byte] = value;
    }
    return remainders;
}

// Returns the CRC-32 of zip.
uint32_t Checksum(const std::string& bytes) {
    constexpr std::array<uint32_t, 256> kRemainders = MakeRemainders();
    uint32_t sum = 0xffff'ffff;
    for (const char byte : bytes) {
        sum = (sum >> 8) ^ kRemainders[(sum ^ static_cast<unsigned char>(byte)) & 0xff];
    }
    return ~sum;
}

}  // namespace

std::vector<NpzArray> ListNpz(std::istream& file, const std::string& path) {
    constexpr std::size_t kEntryBytes = 46;
    constexpr std::string_view kEnding = ".npy";
    const std::string end = FindEndRecord(file, path);
    const uint32_t count = NumberAt(end, 10, 2);
    const uint32_t bytes = NumberAt(end, 12, 4);
    const uint32_t offset = NumberAt(end, 16, 4);
    if (count == 0xffff || bytes == 0xffff'ffff || offset == 0xffff'ffff) {
        Refuse(path, "it has 4 GiB or more; save its arrays as .npy files");
    }
    const std::string directory = ReadAt(file, path, offset, bytes);
    std::vector<NpzArray> arrays;
    std::string_view rest = directory;
    for (uint32_t i = 0; i < count; ++i) {
        const bool isEntry = rest.size() >= kEntryBytes && rest.starts_with(kDirectoryEntry);
        const std::size_t nameBytes = isEntry ? NumberAt(rest, 28, 2) : 0;
        const std::size_t entryBytes =
            isEntry ? kEntryBytes + nameBytes + NumberAt(rest, 30, 2) + NumberAt(rest, 32, 2) : 0;
        if (!isEntry || entryBytes > rest.size()) {
            Refuse(path, "its directory is damaged");
        }
        const uint32_t method = NumberAt(rest, 10, 2);
        const bool isEncrypted = (NumberAt(rest, 8, 2) & 1) != 0;
        std::string name(rest.substr(kEntryBytes, nameBytes));
        if (isEncrypted || (method != 0 && method != 8)) {
            Refuse(path, "it is packed in a way that numpy does not use");
        }
        if (name.ends_with(kEnding)) {
            name.resize(name.size() - kEnding.size());
            arrays.push_back({name, method == 8, NumberAt(rest, 16, 4), NumberAt(rest, 20, 4), NumberAt(rest, 24, 4),
                              NumberAt(rest, 42, 4)});
        }
        rest.remove_prefix(entryBytes);
    }
    return arrays;
}

std::string ReadNpz(std::istream& file, const std::string& path, const NpzArray& array) {
    constexpr std::size_t kHeaderBytes = 30;
    const std::string header = ReadAt(file, path, array.offset, kHeaderBytes);
    if (!header.starts_with(kLocalHeader)) {
        Refuse(path, "its directory is damaged");
    }
    const uint64_t data = uint64_t{array.offset} + kHeaderBytes + NumberAt(header, 26, 2) + NumberAt(header, 28, 2);
    std::string bytes = ReadAt(file, path, data, array.packedSize);
    if (array.isDeflated) {
        constexpr uint32_t kMostTimes = 1'032;  // deflate cannot compress more
        const bool isPossible = array.size / kMostTimes <= array.packedSize;
        bytes = isPossible ? Inflate(bytes, array.size) : "";
    }
    if (bytes.size() != array.size || Checksum(bytes) != array.checksum) {
        Refuse(path, "its array " + array.name + " is damaged");
    }
    return bytes;
}

}  // namespace Orvane::Cli
