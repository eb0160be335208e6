#include "platform/last_error.h"

#include <windows.h>

namespace Orvane::Platform {

uint32_t LastError() noexcept {
    return GetLastError();
}

LastErrorKept::~LastErrorKept() {
    SetLastError(error);
}

}  // namespace Orvane::Platform
