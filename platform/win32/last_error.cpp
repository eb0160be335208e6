#include "platform/last_error.h"

#include <windows.h>

namespace Orvane::Platform {

uint32_t LastError() noexcept {
    return GetLastError();
}

LastErrorGuard::~LastErrorGuard() {
    SetLastError(error);
}

}  // namespace Orvane::Platform
