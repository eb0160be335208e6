#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// The kind of a failure, as far as this process knows it: a host process sends only message and code.
enum FailureReason : uint32_t {
    FailureReasonNone = 0,       ///< success
    FailureReasonRefused = 1,    ///< the SDK or a host process refused it; the message says why
    FailureReasonRuntime = 2,    ///< the inference runtime in this process failed; the message is the runtime's
    FailureReasonSystem = 3,     ///< the system lacks what a host process needs; the code is the system's error number
    FailureReasonHostStart = 4,  ///< the host program could not start; the code is the system's error number
    FailureReasonHostEnded = 5,  ///< the host process has ended; `Init` starts a new one
};

/// Result of every inference operation; a plain value.
struct [[nodiscard]] Status {
    /// UTF-8, empty on success. Texts of the inference runtime may have several lines.
    std::string message;

    /// 0 on success, -1 for every failure that the SDK detects itself. With a host process also its code, or the
    /// system's error number.
    int32_t code = 0;

    /// Use this, not message or code, to decide what to do.
    FailureReason reason = FailureReasonNone;

    /// A failure has a message; its code may be 0.
    bool Ok() const { return message.empty(); }
};

}  // namespace Orvane
