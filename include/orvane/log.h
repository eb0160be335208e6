#pragma once

#include <cstdint>

/// Lets compilers check the format against the arguments.
#if defined(__MINGW32__) && !defined(__clang__)
#define ORVANE_LOG_FORMAT __attribute__((format(gnu_printf, 2, 3)))
#elif defined(__GNUC__)
#define ORVANE_LOG_FORMAT __attribute__((format(printf, 2, 3)))
#else
#define ORVANE_LOG_FORMAT
#endif

namespace Orvane {

/// Level of every line of the SDK. Higher is more severe.
inline constexpr uint32_t kLogLevelError = 6;

/// Receives one finished line, zero-terminated UTF-8 without a line end of its own.
/// Called on the thread that logs; `text` is valid only during the call. The SDK holds no lock: the callback may call
/// `Interrupt`, `SetTimeLimit` and `GetHostEnd` of any interpreter, everything of interpreters that no operation uses
/// at that time, and the functions below. It must not throw.
using LogCallback = void (*)(uint32_t level, const char* text);

/// Installs the process-wide sink of log lines; null drops them, which is how a process starts.
/// A line that another thread is logging meanwhile may still reach the old sink.
void SetLogCallback(LogCallback callback);

/// Lines below `minimum` no longer reach the callback. Starts at 0: every line passes.
void SetLogLevel(uint32_t minimum);

/// Formats like `printf` and hands the line to the callback. Any thread.
/// Returns 0 if the text could be formatted, also without a callback, and -1 if not.
int32_t Log(uint32_t level, const char* format, ...) ORVANE_LOG_FORMAT;

}  // namespace Orvane
