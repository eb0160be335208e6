#include "platform/last_error.h"

#include <cerrno>
#include <system_error>

namespace Orvane::Platform {

uint32_t LastError() noexcept {
    return static_cast<uint32_t>(errno);
}

std::string SystemMessage(uint32_t error) {
    return std::system_category().message(static_cast<int>(error));
}

LastErrorGuard::~LastErrorGuard() {
    errno = static_cast<int>(error);
}

}  // namespace Orvane::Platform
