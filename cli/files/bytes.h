#pragma once

#include "platform/private_folder.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Whole files and the standard streams, temporary files, and numbers in the bytes of files.
namespace Orvane::Cli {

// Whether the path is "-": the standard input, or the standard output.
inline bool IsStandard(const std::string& path) {
    return path == "-";
}

// Returns the name of an input for messages.
std::string InputName(const std::string& path);

// Throws `WrongUsage` if several of these paths are "-": the program can read the standard input only once.
void RefuseSecondStandardInput(const std::vector<std::string>& paths);

// Returns all bytes of a file, of the standard input or of a stream, but at most `most`. Throws `Platform::FileError`.
std::string ReadInput(const std::string& path, std::size_t most = std::string::npos);
std::string ReadAll(std::istream& stream, const std::string& name, std::size_t most = std::string::npos);

// Writes a file that appears whole or not at all. Throws `Platform::FileError`.
void WriteFile(const std::string& path, std::string_view bytes);

// Makes a temporary folder that only this user can use. Throws `Failure` or `Platform::FileError`. Make an
// `InterruptFlag` first, so that Ctrl-C leaves no folder, and do not wait for other programs while the folder exists.
std::unique_ptr<Platform::PrivateFolder> TemporaryFolder();

// Returns an unsigned number of up to four bytes. Missing bytes count as 0.
inline uint32_t NumberAt(std::string_view bytes, std::size_t offset, std::size_t size, bool isLittleEndian = true) {
    uint32_t number = 0;
    for (std::size_t i = 0; i < size && offset + i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[offset + i]);
        number |= static_cast<uint32_t>(byte) << (8 * (isLittleEndian ? i : size - 1 - i));
    }
    return number;
}

}  // namespace Orvane::Cli
