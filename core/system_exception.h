#pragma once

#include <cstdint>
#include <stdexcept>

namespace Orvane {

// A failure of the operating system in the process and channel plumbing. Never leaves the SDK.
class SystemException : public std::runtime_error {
 public:
    // Copies `message` and takes the calling thread's last system error as the code: construct it right after
    // the call that failed, before anything else can change that error.
    explicit SystemException(const char* message);
    SystemException(const SystemException& other) = default;

    // The system's error number, not part of `what()`.
    uint32_t Code() const { return code; }

 private:
    SystemException(const char* message, uint32_t lastError);

    uint32_t code;
};

[[noreturn]] void ThrowSystemError(const char* message);

}  // namespace Orvane
