#include <orvane/log.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

namespace Orvane {

namespace {

std::atomic<LogCallback> logCallback{nullptr};
std::atomic<uint32_t> minimumLevel{0};

}  // namespace

void SetLogCallback(LogCallback callback) {
    logCallback = callback;
}

void SetLogLevel(uint32_t minimum) {
    minimumLevel = minimum;
}

int32_t Log(uint32_t level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return -1;
    }

    const size_t size = static_cast<size_t>(length) + 1;
    const std::unique_ptr<char[]> text(new (std::nothrow) char[size]);
    if (text == nullptr) {
        return 0;  // an error that is being reported must not become an exception
    }
    va_start(arguments, format);
    std::vsnprintf(text.get(), size, format, arguments);
    va_end(arguments);

    const LogCallback callback = logCallback;
    if (callback != nullptr && level >= minimumLevel) {
        callback(level, text.get());
    }
    return 0;
}

}  // namespace Orvane
