// The libraries `orvane` and `orvane_c` also run models in the process of the application.
#include "backends/openvino/openvino_backend.h"
#include "core/i_orvane.h"

namespace Orvane {

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t framework) {
    switch (framework) {
        case FrameworkTypeOpenvinoPlain:
        case FrameworkTypeOpenvino:
            return CreateOpenvinoBackend();
        default:
            return nullptr;
    }
}

}  // namespace Orvane
