#include <orvane/log.h>

#include "core/deferred_log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

namespace Orvane {

namespace {

std::atomic<LogCallback> logCallback{nullptr};
std::atomic<uint32_t> minimumLevel{0};
thread_local DeferredLog* outermost = nullptr;

void Deliver(uint32_t level, const char* text) {
    const LogCallback callback = logCallback;
    if (callback != nullptr && level >= minimumLevel) {
        callback(level, text);
    }
}

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
    std::unique_ptr<char[]> text(new (std::nothrow) char[size]);
    if (text == nullptr) {
        return 0;  // reporting an error must not throw
    }
    va_start(arguments, format);
    std::vsnprintf(text.get(), size, format, arguments);
    va_end(arguments);

    if (!DeferredLog::Queue(level, text)) {
        Deliver(level, text.get());
    }
    return 0;
}

DeferredLog::DeferredLog() noexcept {
    if (outermost == nullptr) {
        outermost = this;
    }
}

DeferredLog::~DeferredLog() {
    if (outermost == this) {
        outermost = nullptr;
        for (const Line& line : lines) {
            Deliver(line.level, line.text.get());
        }
    }
}

bool DeferredLog::Queue(uint32_t level, std::unique_ptr<char[]>& text) noexcept {
    if (outermost == nullptr) {
        return false;
    }
    try {
        outermost->lines.push_back({level, std::move(text)});
    } catch (const std::bad_alloc&) {
        text = nullptr;
    }
    return true;
}

}  // namespace Orvane
