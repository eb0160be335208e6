#pragma once

#include "core/i_orvane.h"

#include <memory>

namespace Orvane {

// A backend that runs models with OpenVINO in this process. This header does not need OpenVINO's headers.
std::unique_ptr<IOrvane> CreateOpenvinoBackend();

}  // namespace Orvane
