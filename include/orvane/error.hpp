#pragma once

/// \file
/// The exceptions of `orvane.hpp`, which includes this header.

#include <orvane/orvane_c.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orvane {

/// Why a call failed.
enum class Reason : int32_t {
    Refused = ORVANE_REFUSED,           ///< not possible with this model, these files or these options
    BadArgument = ORVANE_BAD_ARGUMENT,  ///< an argument is wrong for every model
    NoMemory = ORVANE_NO_MEMORY,        ///< there is not enough memory
    HostEnded = ORVANE_HOST_ENDED,      ///< the host process has ended; the exception is a `HostEnded`
    System = ORVANE_SYSTEM,             ///< the system failed; `Error::GetSystemError` returns its error number
    Runtime = ORVANE_RUNTIME,           ///< the inference runtime failed; the text is from the runtime
    Cancelled = ORVANE_CANCELLED,       ///< a progress function cancelled the call
};

/// Returns the reason's name, such as "refused", in static storage.
inline const char* NameOf(Reason reason) {
    return orvane_reason_name(static_cast<int32_t>(reason));
}

/// How a host process ended.
enum class HostEnd : int32_t {
    Exit = ORVANE_HOST_END_EXIT,                ///< it exited, or on Windows it crashed
    Signal = ORVANE_HOST_END_SIGNAL,            ///< a signal ended it
    Interrupted = ORVANE_HOST_END_INTERRUPTED,  ///< `Model::Interrupt` or a progress function ended it
    TimeLimit = ORVANE_HOST_END_TIME_LIMIT,     ///< a call reached its time limit
    BadReply = ORVANE_HOST_END_BAD_REPLY,       ///< it sent an invalid reply, and the library ended it
    Unknown = ORVANE_HOST_END_UNKNOWN,          ///< the system does not say how it ended
};

/// A failed call. `what()` is UTF-8 and says what was wrong and what to do.
class Error : public std::runtime_error {
 public:
    /// Creates an error with this text. `systemError` is the system's error number, or 0.
    Error(Reason why, const std::string& text, int32_t systemError = 0)
        : std::runtime_error(text), reason(why), system(systemError) {}

    /// Returns why the call failed.
    Reason GetReason() const { return reason; }

    /// Returns the system's error number, or 0.
    int32_t GetSystemError() const { return system; }

 private:
    Reason reason;
    int32_t system;
};

/// The host process has ended; `Model::Restart` starts a new one.
class HostEnded : public Error {
 public:
    /// Creates an error with this text and cause.
    explicit HostEnded(const std::string& text, HostEnd how = HostEnd::Unknown)
        : Error(Reason::HostEnded, text), cause(how) {}

    /// Returns how the host process ended.
    HostEnd GetCause() const { return cause; }

 private:
    HostEnd cause;
};

namespace detail {

inline void Check(orvane_error* error) {
    if (error == nullptr) {
        return;
    }
    const std::unique_ptr<orvane_error, void (*)(orvane_error*)> owned(error, orvane_error_free);
    const auto reason = static_cast<Reason>(orvane_error_reason(error));
    if (reason == Reason::HostEnded) {
        throw HostEnded(orvane_error_message(error), static_cast<HostEnd>(orvane_error_host_end(error)));
    }
    throw Error(reason, orvane_error_message(error), orvane_error_system(error));
}

// A progress function of the application, which a C function calls. No exception may pass through C: `Call` stores it
// and cancels the call, and `Check` throws it.
template <typename... Arguments>
struct Progress {
    std::function<bool(Arguments...)> function;
    std::exception_ptr thrown;

    static int32_t Call(void* self, Arguments... arguments) noexcept {
        auto& progress = *static_cast<Progress*>(self);
        try {
            return progress.function(arguments...) ? 0 : 1;
        } catch (...) {
            progress.thrown = std::current_exception();
            return 1;
        }
    }

    void Check(orvane_error* error) {
        if (thrown) {
            orvane_error_free(error);
            std::rethrow_exception(std::exchange(thrown, nullptr));
        }
        detail::Check(error);
    }
};

inline uint32_t Milliseconds(std::chrono::milliseconds limit) {
    if (limit.count() < 0 || limit.count() > std::numeric_limits<uint32_t>::max()) {
        throw Error(Reason::BadArgument, "a time limit of " + std::to_string(limit.count()) +
                                             " ms is not possible: pass 0 for none, or up to 4294967295 ms");
    }
    return static_cast<uint32_t>(limit.count());
}

// The number of elements; if it does not fit, a number that the C interface refuses too.
template <typename Element>
uint32_t Size(const std::vector<Element>& elements) {
    return static_cast<uint32_t>(std::min<uint64_t>(elements.size(), std::numeric_limits<uint32_t>::max()));
}

}  // namespace detail

}  // namespace orvane
