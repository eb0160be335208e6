// The libraries `orvane_client` and `orvane_client_c` run models only in a host process.
#include "core/errors.h"
#include "core/i_orvane.h"
#include "core/model_file.h"

namespace Orvane {

namespace {

Status Refuse() {
    return MakeErrorStatus("this library has no inference runtime: use the library orvane_c");
}

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t /*framework*/) {
    return nullptr;
}

Status ListDevices(std::vector<Device>& /*devices*/) {
    return Refuse();
}

Status DescribeModelFile(const std::string& /*path*/, FileTensors& /*tensors*/) {
    return Refuse();
}

Status ReshapeModelFile(const std::string& /*path*/, const InputShapes& /*shapes*/, const std::string& /*out*/) {
    return Refuse();
}

}  // namespace Orvane
