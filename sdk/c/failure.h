#pragma once

#include <orvane/host_end.h>
#include <orvane/orvane_c.h>
#include <orvane/status.h>

#include <cstdint>
#include <stdexcept>
#include <string>

// The error that the C interface returns.
struct orvane_error {
    int32_t reason;
    int32_t system;
    std::string message;
    int32_t hostEnd = 0;
};

namespace Orvane::C {

// An error inside this layer; `CaughtError` converts it to an `orvane_error`.
class Failure : public std::runtime_error {
 public:
    Failure(int32_t whichReason, const std::string& text, int32_t systemError = 0, int32_t howHostEnded = 0)
        : std::runtime_error(text), reason(whichReason), system(systemError), hostEnd(howHostEnded) {}

    int32_t Reason() const { return reason; }
    int32_t System() const { return system; }
    int32_t HostEnd() const { return hostEnd; }  // ORVANE_HOST_END_..., or 0

 private:
    int32_t reason;
    int32_t system;
    int32_t hostEnd;
};

inline Failure BadArgument(const std::string& text) {
    return {ORVANE_BAD_ARGUMENT, text};
}

inline Failure Refused(const std::string& text) {
    return {ORVANE_REFUSED, text};
}

// Returns the failure for a status of the SDK's classes. Its text says what was wrong and what to do. If it does not
// contain the text of the status, that text follows in parentheses.
// `device` is the device that the caller asked for, if any.
Failure FailureOf(const Status& status, const std::string& device = "");

// Returns the failure for a host program that the system did not start: why, and what to do.
Failure HostStartFailure(const std::string& program, const Status& status);

// Returns the failure for a host process that has ended, before or after it loaded its model: how it ended, and what to
// do.
Failure HostEndedFailure(const HostEnd& end, bool isLoaded);

// Converts the current exception to an error. If there is no memory for it, returns a static error.
orvane_error* CaughtError() noexcept;

// Frees an error, unless it is null or the static error.
void FreeError(orvane_error* error) noexcept;

// Runs the work of one function of the interface, and returns its exception as an error.
template <typename Work>
orvane_error* Guarded(Work work) noexcept {
    try {
        work();
        return nullptr;
    } catch (...) {
        return CaughtError();
    }
}

}  // namespace Orvane::C
