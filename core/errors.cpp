#include "core/errors.h"

#include <orvane/log.h>

#include "platform/last_error.h"

namespace Orvane {

Status MakeErrorStatus(const std::string& message, int32_t code, FailureReason reason) {
    Log(kLogLevelError, "[ORVANE]:error=%s, status=%d", message.c_str(), code);
    return {message.empty() ? "Unknown Error" : message, code, reason};
}

Status MakeSuccessStatus() {
    return {};
}

// Reads the error before the base class copies the message: the allocation may change the error.
SystemException::SystemException(const char* message) : SystemException(message, Platform::LastError()) {}

SystemException::SystemException(const char* message, uint32_t lastError)
    : std::runtime_error(message), code(lastError) {}

void ThrowSystemError(const char* message) {
    throw SystemException(message);
}

}  // namespace Orvane
