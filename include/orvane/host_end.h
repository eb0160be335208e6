#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// Why a host process is no longer there.
enum HostEndCause : uint32_t {
    HostEndCauseNone = 0,         ///< it is, or it was released, or there never was one
    HostEndCauseExit = 1,         ///< it exited; the value is its exit value, on Windows also after a crash
    HostEndCauseSignal = 2,       ///< a signal ended it; the value is the signal's number
    HostEndCauseUnknown = 3,      ///< the system, or the application that waits for children itself, does not tell
    HostEndCauseInterrupted = 4,  ///< `Interpreter::Interrupt` ended it
    HostEndCauseTimeLimit = 5,    ///< a call took longer than `Interpreter::SetTimeLimit`, or than 55 hours
    HostEndCauseBadReply = 6,     ///< it answered with what cannot be a reply, and was ended for that
};

/// How a host process ended.
struct HostEnd {
    HostEndCause cause = HostEndCauseNone;
    uint32_t value = 0;  ///< by cause
    std::string text;    ///< the same for a person: "signal 11 (SIGSEGV)"; empty without a cause
};

}  // namespace Orvane
