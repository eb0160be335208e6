#pragma once

#include "core/i_orvane.h"

#include <memory>

namespace Orvane {

// The two backends. `core` only declares them: a library links the ones that it has and, for the other one, the
// definition that answers null.
std::unique_ptr<IOrvane> CreateOpenvinoBackend();
std::unique_ptr<IOrvane> CreateRemoteBackend();

}  // namespace Orvane
