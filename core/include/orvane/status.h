#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// Result of every inference operation; a plain value.
struct [[nodiscard]] Status {
    /// UTF-8, empty on success. Texts of the inference runtime can have several lines.
    std::string message;

    /// 0 on success, -1 for every failure that the SDK detects itself; a host process's code or the
    /// system's error number where a host process is involved.
    int32_t code = 0;

    /// A failure is recognised by its message, not by its code.
    bool Ok() const { return message.empty(); }
};

}  // namespace Orvane
