#include "core/error_status.h"

#include <orvane/log.h>

namespace Orvane {

Status MakeErrorStatus(const std::string& message, int32_t code, FailureReason reason) {
    Log(kLogLevelError, "[ORVANE]:error=%s, status=%d", message.c_str(), code);
    return {message.empty() ? "Unknown Error" : message, code, reason};
}

Status MakeSuccessStatus() {
    return {};
}

}  // namespace Orvane
