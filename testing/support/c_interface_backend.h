#pragma once

#include "core/i_orvane.h"

#include <memory>

namespace Orvane::Testing {

// The C interface as a backend, so that what is tested of backends is tested of it too. Refusals have its own texts.
std::unique_ptr<IOrvane> CreateCInterfaceBackend();

}  // namespace Orvane::Testing
