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

/// Receives one line, as zero-terminated UTF-8 without a line end. The SDK calls it on the thread that logs, possibly
/// on several threads at once, and holds no lock. `text` is valid only during the call. The callback must not throw. It
/// may call `Interrupt`, `SetTimeLimit` and `GetHostEnd` of any interpreter, and the functions below. It may call all
/// functions of an interpreter that no operation uses at that time.
using LogCallback = void (*)(uint32_t level, const char* text);

/// Sets the callback for the log lines of this process. With null, the default, lines are dropped. Thread-safe: while
/// you change the callback, a line of another thread may still reach the earlier one.
void SetLogCallback(LogCallback callback);

/// Drops lines below the level `minimum`. The default is 0, which drops no line. Thread-safe.
void SetLogLevel(uint32_t minimum);

/// Formats a line like `printf`, and passes it to the callback. During an operation of a model with a host process, the
/// callback may receive the line only when that operation ends. Returns -1 if the text cannot be formatted. Otherwise
/// returns 0, also if no callback is set or there is no memory for the line. Thread-safe.
int32_t Log(uint32_t level, const char* format, ...) ORVANE_LOG_FORMAT;

}  // namespace Orvane
