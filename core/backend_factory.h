#pragma once

#include "core/i_orvane.h"

#include <cstdint>
#include <memory>

namespace Orvane {

// The backends of the library that this is linked into, which defines these two.

// The one that runs models of this framework, a `FrameworkType`, in this process; null when the library has none.
std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t framework);

// The one that runs models in a host process.
std::unique_ptr<IOrvane> CreateRemoteBackend();

}  // namespace Orvane
