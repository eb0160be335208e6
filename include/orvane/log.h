#pragma once

#include <cstdint>

/// With this attribute, compilers check the arguments against the format.
#if defined(__MINGW32__) && !defined(__clang__)
#define ORVANE_LOG_FORMAT __attribute__((format(gnu_printf, 2, 3)))
#elif defined(__GNUC__)
#define ORVANE_LOG_FORMAT __attribute__((format(printf, 2, 3)))
#else
#define ORVANE_LOG_FORMAT
#endif

namespace Orvane {

/// The level of every line of the SDK. A higher level is more severe.
inline constexpr uint32_t kLogLevelError = 6;

/// Receives one line, as zero-terminated UTF-8. The SDK adds no line end.
/// Called on the thread that logs; `text` is valid only during the call. The SDK holds no lock. The callback may call
/// `Interrupt`, `SetTimeLimit` and `GetHostEnd` of any interpreter, all functions of interpreters that no operation
/// uses at that time, and the functions below. It must not throw.
using LogCallback = void (*)(uint32_t level, const char* text);

/// Sets the callback for the log lines of this process. With null, the default, lines are dropped. Thread-safe: while
/// you change the callback, a line of another thread may still reach the earlier one.
void SetLogCallback(LogCallback callback);

/// Drops lines below the level `minimum`. The default is 0, which drops no line. Thread-safe.
void SetLogLevel(uint32_t minimum);

/// Formats like `printf` and passes the line to the callback. Thread-safe.
/// Returns -1 if the text cannot be formatted. Otherwise returns 0, also without a callback.
int32_t Log(uint32_t level, const char* format, ...) ORVANE_LOG_FORMAT;

}  // namespace Orvane
