#pragma once

#include "platform/last_error.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Orvane::Platform {

// A file that cannot be used. The text says what was wrong and, on a second line, what to do if there is something to
// do. The code is the system's error number, or 0 if the system did not refuse anything.
class FileError : public std::runtime_error {
 public:
    explicit FileError(const std::string& text, uint32_t systemError = 0)
        : std::runtime_error(text), code(systemError) {}

    // `text`, followed by the system's text for `systemError`.
    static FileError OfSystem(const std::string& text, uint32_t systemError = LastError()) {
        const std::string reason = std::system_category().message(static_cast<int>(systemError));
        return FileError(text + ": " + reason, systemError);
    }

    uint32_t Code() const { return code; }

 private:
    uint32_t code;
};

}  // namespace Orvane::Platform
