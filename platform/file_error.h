#pragma once

#include "platform/last_error.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Orvane::Platform {

// A file that cannot be used as it should be. The text says what was wrong and, in a line of its own where there is
// something, what to do; the code is the system's error number, or 0 where the system was not the obstacle.
class FileError : public std::runtime_error {
 public:
    explicit FileError(const std::string& text, uint32_t systemError = 0)
        : std::runtime_error(text), code(systemError) {}

    // `text` and the system's words for `systemError`.
    static FileError OfSystem(const std::string& text, uint32_t systemError = LastError()) {
        const std::string reason = std::system_category().message(static_cast<int>(systemError));
        return FileError(text + ": " + reason, systemError);
    }

    uint32_t Code() const { return code; }

 private:
    uint32_t code;
};

}  // namespace Orvane::Platform
