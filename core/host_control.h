#pragma once

#include <orvane/host_end.h>

#include <cstdint>

namespace Orvane {

// How a host process ended that the client ended: by an interrupt, a wrong reply, or a time limit in milliseconds (0:
// the limit of 55 hours). `cause` names the case.
HostEnd EndedByClient(HostEndCause cause, uint32_t timeLimit = 0);

// Controls the host process of a backend, for threads that must not wait for the backend's operations. Thread-safe,
// also while an operation runs or the backend is being destroyed.
class HostControl {
 public:
    virtual ~HostControl() = default;

    // Ends the host process. An operation that waits for it fails within 200 ms. An `Init` that is about to start a
    // host process fails too.
    virtual void Interrupt() = 0;

    // If an operation waits longer than this for the host process, it ends the host process and fails. 0: no limit.
    // Applies from the next operation.
    virtual void SetTimeLimit(uint32_t milliseconds) = 0;

    // How the last host process ended. A release does not count as an end.
    virtual HostEnd GetEnd() const = 0;
};

}  // namespace Orvane
