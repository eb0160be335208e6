#pragma once

#include <cstdint>
#include <string>

namespace Orvane::Platform {

// The calling thread's last system error: `errno` or `GetLastError()`.
uint32_t LastError() noexcept;

// Returns the system's text for an error number, as UTF-8. On Windows it is in the user's language. The standard
// library returns it in the code page there.
std::string SystemMessage(uint32_t error);

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
