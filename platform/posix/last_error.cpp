#include "platform/last_error.h"

#include <cerrno>

namespace Orvane::Platform {

uint32_t LastError() noexcept {
    return static_cast<uint32_t>(errno);
}

LastErrorGuard::~LastErrorGuard() {
    errno = static_cast<int>(error);
}

}  // namespace Orvane::Platform
