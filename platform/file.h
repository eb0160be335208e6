#pragma once

#include "platform/last_error.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <istream>
#include <stdexcept>
#include <string>

namespace Orvane::Platform {

// A file that cannot be used. The text says what was wrong and, on a second line, what to do if there is something to
// do. The code is the system's error number, or 0 if the system did not refuse anything.
class FileError : public std::runtime_error {
 public:
    explicit FileError(const std::string& text, uint32_t systemError = 0)
        : std::runtime_error(text), code(systemError) {}

    // `text`, followed by the system's text for `systemError`.
    static FileError OfSystem(const std::string& text, uint32_t systemError = LastError()) {
        return FileError(text + ": " + SystemMessage(systemError), systemError);
    }

    uint32_t Code() const { return code; }

 private:
    uint32_t code;
};

// Opens `path` (UTF-8) for reading bytes. Throws `FileError` if the file is missing or a folder, or the system refuses.
std::ifstream OpenInputFile(const std::string& path);

// Reads up to `size` bytes and returns how many it read; fewer only at the end of the file. Throws `FileError` if the
// system cannot read. `path` is for the message.
std::size_t ReadUpTo(std::istream& stream, const std::string& path, void* destination, std::size_t size);

// Returns the path (UTF-8) of a model file's weights: the same path with the extension "bin". The extension starts at
// the last "." of the file name, even if the name is only an extension, such as ".xml". The standard library finds no
// extension in such a name.
std::string WeightsFileOf(const std::string& modelFile);

}  // namespace Orvane::Platform
