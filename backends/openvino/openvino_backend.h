#pragma once

#include "core/i_orvane.h"

#include <memory>

namespace Orvane {

// A backend that runs models on OpenVINO in this process. Apart from its class, whose header needs the runtime's.
std::unique_ptr<IOrvane> CreateOpenvinoBackend();

}  // namespace Orvane
