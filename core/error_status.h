#pragma once

#include <orvane/status.h>

#include <string>

namespace Orvane {

// Code of every failure that the SDK detects itself.
inline constexpr int32_t kErrorCode = -1;

// Logs the failure and returns it. Logs an empty `message` unchanged, but returns it as "Unknown Error".
Status MakeErrorStatus(const std::string& message, int32_t code = kErrorCode,
                       FailureReason reason = FailureReasonRefused);

Status MakeSuccessStatus();

}  // namespace Orvane
