#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// The kind of a failure. A host process sends only a message and a code, so all its failures are
/// `FailureReasonRefused`.
enum FailureReason : uint32_t {
    FailureReasonNone = 0,       ///< success
    FailureReasonRefused = 1,    ///< the SDK or a host process refused it; the message says why
    FailureReasonRuntime = 2,    ///< the inference runtime in this process failed; the message is the runtime's
    FailureReasonSystem = 3,     ///< the system lacks what a host process needs; the code is the system's error number
    FailureReasonHostStart = 4,  ///< the host program could not start; the code is the system's error number
    FailureReasonHostEnded = 5,  ///< the host process has ended; `Init` starts a new one
};

/// The result of an operation that can fail.
struct [[nodiscard]] Status {
    /// UTF-8, empty on success. Texts of the inference runtime may have several lines.
    std::string message;

    /// 0 on success. For `FailureReasonSystem` and `FailureReasonHostStart` the system's error number. For any other
    /// failure -1, or the code that the host process sent.
    int32_t code = 0;

    /// Use this, not message or code, to decide what to do.
    FailureReason reason = FailureReasonNone;

    /// A failure has a message; its code may be 0.
    bool Ok() const { return message.empty(); }
};

}  // namespace Orvane
