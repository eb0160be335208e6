#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// Why a host process ended.
enum HostEndCause : uint32_t {
    HostEndCauseNone = 0,         ///< it has not ended, `Release` ended it, or it never started
    HostEndCauseExit = 1,         ///< it exited; `value` is its exit value, on Windows also after a crash
    HostEndCauseSignal = 2,       ///< a signal ended it; `value` is the signal's number
    HostEndCauseUnknown = 3,      ///< unknown, for instance because the application waits for its children itself
    HostEndCauseInterrupted = 4,  ///< `Interpreter::Interrupt` ended it
    HostEndCauseTimeLimit = 5,    ///< a call took too long; `value` is the limit in milliseconds, 0 for 55 hours
    HostEndCauseBadReply = 6,     ///< it sent a wrong reply, and the client ended it
};

/// How a host process ended.
struct HostEnd {
    HostEndCause cause = HostEndCauseNone;  ///< why it ended
    uint32_t value = 0;                     ///< see the comment of the cause; otherwise 0
    std::string text;                       ///< for a person: how it ended, and a likely reason; empty without a cause
};

}  // namespace Orvane
