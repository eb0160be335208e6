#pragma once

#include <orvane/status.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Orvane {

// Code of every failure that the SDK detects itself.
inline constexpr int32_t kErrorCode = -1;

// Fixed texts that several places use. Applications compare them.
inline constexpr const char* kNotSupported = "不支持此操作";
inline constexpr const char* kWrongDevice = "不支持的设备类型";
inline constexpr const char* kWrongModel = "模型参数错误";
inline constexpr const char* kWrongTensor = "Tensor 参数错误";
inline constexpr const char* kWrongDataSize = "数据大小错误";

// Logs the failure and returns it. Logs an empty `message` unchanged, but returns it as "Unknown Error".
Status MakeErrorStatus(const std::string& message, int32_t code = kErrorCode,
                       FailureReason reason = FailureReasonRefused);

Status MakeSuccessStatus();

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
