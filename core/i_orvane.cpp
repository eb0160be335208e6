#include "core/i_orvane.h"

#include "core/error_status.h"

namespace Orvane {

Status IOrvane::BindTensor(uint32_t /*index*/, TensorType /*type*/, uint32_t /*otherIndex*/, TensorType /*otherType*/) {
    return MakeErrorStatus("不支持此操作");
}

Status IOrvane::GetInputMemory(uint32_t /*index*/, uint32_t /*size*/, std::shared_ptr<void>& /*memory*/) {
    return MakeErrorStatus("不支持此操作");
}

}  // namespace Orvane
