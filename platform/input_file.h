#pragma once

#include <cstddef>
#include <fstream>
#include <istream>
#include <string>

namespace Orvane::Platform {

// Opens `path` (UTF-8) for reading bytes. Throws `FileError` if the file is missing or a folder, or the system refuses.
std::ifstream OpenInputFile(const std::string& path);

// Reads up to `size` bytes and returns how many it read; fewer only at the end of the file. Throws `FileError` if the
// system cannot read. `path` is for the message.
std::size_t ReadUpTo(std::istream& stream, const std::string& path, void* destination, std::size_t size);

}  // namespace Orvane::Platform
