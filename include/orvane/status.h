#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// What kind of failure it was, as far as this process knows: a host process tells only message and code.
enum FailureReason : uint32_t {
    FailureReasonNone = 0,       ///< success
    FailureReasonRefused = 1,    ///< the SDK refused it, or a host process or the runtime there; the message says why
    FailureReasonRuntime = 2,    ///< the inference runtime in this process failed; the message is its own
    FailureReasonSystem = 3,     ///< the system cannot give what a host process needs; the code is its error number
    FailureReasonHostStart = 4,  ///< the host program cannot be started; the code is the system's error number
    FailureReasonHostEnded = 5,  ///< the host process has ended; `Init` starts a new one
};

/// Result of every inference operation; a plain value.
struct [[nodiscard]] Status {
    /// UTF-8, empty on success. Texts of the inference runtime can have several lines.
    std::string message;

    /// 0 on success, -1 for every failure that the SDK detects itself; a host process's code or the
    /// system's error number where a host process is involved.
    int32_t code = 0;

    /// For a decision about what to do next, which neither a text nor a number should be taken for.
    FailureReason reason = FailureReasonNone;

    /// A failure is recognised by its message, not by its code.
    bool Ok() const { return message.empty(); }
};

}  // namespace Orvane
