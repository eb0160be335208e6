#pragma once

#include <orvane/status.h>

#include <string>

namespace Orvane {

// Code of every failure that the SDK detects itself.
inline constexpr int32_t kErrorCode = -1;

// Logs the failure and returns it. An empty `message` is logged as it is and returned as "Unknown Error".
Status MakeErrorStatus(const std::string& message, int32_t code = kErrorCode,
                       FailureReason reason = FailureReasonRefused);

Status MakeSuccessStatus();

}  // namespace Orvane
