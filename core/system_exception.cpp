#include "core/system_exception.h"

#include "platform/last_error.h"

namespace Orvane {

// Reads the error before the base class copies the message: the allocation may change the error.
SystemException::SystemException(const char* message) : SystemException(message, Platform::LastError()) {}

SystemException::SystemException(const char* message, uint32_t lastError)
    : std::runtime_error(message), code(lastError) {}

void ThrowSystemError(const char* message) {
    throw SystemException(message);
}

}  // namespace Orvane
