// An application that links `orvane_client` runs models in a host process only.
#include "core/backend_factory.h"

namespace Orvane {

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t /*framework*/) {
    return nullptr;
}

}  // namespace Orvane
