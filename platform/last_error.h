#pragma once

#include <cstdint>

namespace Orvane::Platform {

// The calling thread's last system error: `errno` or `GetLastError()`.
uint32_t LastError() noexcept;

}  // namespace Orvane::Platform
