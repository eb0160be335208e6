#pragma once

#include <cstdint>
#include <stdexcept>

namespace Orvane {

// The operating system failed to create a process or channel. Never leaves the SDK.
class SystemException : public std::runtime_error {
 public:
    // Copies `message` and takes the calling thread's last system error as the code. Construct it right after the
    // failed call, before other code changes that error.
    explicit SystemException(const char* message);
    SystemException(const SystemException& other) = default;

    // The system's error number. `what()` does not contain it.
    uint32_t Code() const { return code; }

 private:
    SystemException(const char* message, uint32_t lastError);

    uint32_t code;
};

[[noreturn]] void ThrowSystemError(const char* message);

}  // namespace Orvane
