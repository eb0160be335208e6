#include "core/backend_factory.h"

namespace Orvane {

std::unique_ptr<IOrvane> CreateOpenvinoBackend() {
    return nullptr;
}

}  // namespace Orvane
