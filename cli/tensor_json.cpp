#include "cli/tensor_json.h"

#include "cli/element_type.h"

namespace Orvane::Cli {

Json TensorJson(const ModelTensor& tensor) {
    return {{"index", tensor.index},
            {"name", tensor.name},
            {"element_type", ElementTypeName(tensor.elementType)},
            {"shape", tensor.shape}};
}

void PrintJson(std::ostream& out, const Json& object) {
    out << object.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace Orvane::Cli
