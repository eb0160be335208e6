#include "core/system_exception.h"

#include "platform/last_error.h"

namespace Orvane {

// The error is read before the base class allocates its copy of the message.
SystemException::SystemException(const char* message) : SystemException(message, Platform::LastError()) {}

SystemException::SystemException(const char* message, uint32_t lastError)
    : std::runtime_error(message), code(lastError) {}

void ThrowSystemError(const char* message) {
    throw SystemException(message);
}

}  // namespace Orvane
