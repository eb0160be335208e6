#pragma once

#include <cstdint>

namespace Orvane::Platform {

// The calling thread's last system error: `errno` or `GetLastError()`.
uint32_t LastError() noexcept;

// Restores the last error when it is destroyed.
class LastErrorKept {
 public:
    LastErrorKept() noexcept : error(LastError()) {}
    ~LastErrorKept();
    LastErrorKept(const LastErrorKept&) = delete;
    LastErrorKept& operator=(const LastErrorKept&) = delete;

 private:
    uint32_t error;
};

}  // namespace Orvane::Platform
