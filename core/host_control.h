#pragma once

#include <orvane/host_end.h>

#include <cstdint>

namespace Orvane {

// The host process of a backend, for threads that must not wait for the backend's operations: any thread may ask at any
// time, also while an operation runs or the backend goes.
class HostControl {
 public:
    virtual ~HostControl() = default;

    // Ends the host. An operation that waits for it fails within 200 ms, an initialisation that is about to start one
    // too.
    virtual void Interrupt() = 0;

    // Milliseconds that an operation waits for the host before it ends it; 0 for no limit. Holds from the next
    // operation.
    virtual void SetTimeLimit(uint32_t milliseconds) = 0;

    // How the last host ended that was not released.
    virtual HostEnd GetEnd() const = 0;
};

}  // namespace Orvane
