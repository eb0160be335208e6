#pragma once

#include <cstdint>

namespace Orvane::Platform {

// The calling thread's last system error: `errno` or `GetLastError()`.
uint32_t LastError() noexcept;

// Restores the last error when it is destroyed.
class LastErrorGuard {
 public:
    LastErrorGuard() noexcept : error(LastError()) {}
    ~LastErrorGuard();
    LastErrorGuard(const LastErrorGuard&) = delete;
    LastErrorGuard& operator=(const LastErrorGuard&) = delete;

 private:
    uint32_t error;
};

}  // namespace Orvane::Platform
