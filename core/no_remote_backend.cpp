#include "core/backend_factory.h"

namespace Orvane {

std::unique_ptr<IOrvane> CreateRemoteBackend() {
    return nullptr;
}

}  // namespace Orvane
