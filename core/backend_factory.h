#pragma once

#include "core/i_orvane.h"

#include <cstdint>
#include <memory>

namespace Orvane {

// Each library defines these two functions and so selects its backends.

// The backend that runs models of this framework, a `FrameworkType`, in this process. Null if the library has no such
// backend.
std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t framework);

// The backend that runs models in a host process.
std::unique_ptr<IOrvane> CreateRemoteBackend();

}  // namespace Orvane
