#include "sdk/c/failure.h"

#include <orvane/host.h>

#include "core/errors.h"
#include "platform/file.h"
#include "platform/last_error.h"
#include "sdk/c/utf8.h"

#include <exception>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

namespace Orvane::C {

namespace {

orvane_error* NoMemory() noexcept {
    static orvane_error error{ORVANE_NO_MEMORY, 0, "no memory left"};  // such a short text allocates nothing
    return &error;
}

orvane_error* MakeError(int32_t reason, int32_t system, const char* message, int32_t hostEnd = 0) {
    return new orvane_error{reason, system, AsUtf8(message), hostEnd};
}

// Returns what a fixed text, or a text of the runtime, means and what to do; null for other texts.
const char* ExplanationOf(std::string_view text) {
    static constexpr std::pair<std::string_view, const char*> kExplanations[] = {
        {kWrongModel, "the model cannot be loaded: name a model file, or a cache file that exists"},
        {kWrongDataSize, "the data has the wrong size: pass exactly as many bytes as the tensor has"},
        {kWrongTensor, "the model has no such input: use an index below the number of inputs"},
        {kNotSupported, "this is not supported"},
        {"OpenVINO is not enabled",
         "this library runs models in a host process only: set a host program, or use the library orvane_c"},
    };
    for (const auto& [fixed, explanation] : kExplanations) {
        if (fixed == text) {
            return explanation;
        }
    }
    const bool isUnreadable = text.find("Unable to read the model") != std::string_view::npos;
    return isUnreadable
               ? "OpenVINO cannot read the model: check that the file is whole and of a format that OpenVINO reads, "
                 "and, if it is encrypted, the key"
               : nullptr;
}

// A shortage that makes the runtime fail with a text, in this process or in a host process.
struct Shortage {
    std::string_view sign;  // a part of the text
    int32_t reason;
    std::errc system;
    const char* explanation;
};
constexpr const char* kNoMemoryForModel =
    "there is not enough memory or address space for the model and the runtime: free some, or raise the limit";
constexpr const char* kNoThreads =
    "the system has no more threads or processes for this user, or no memory for one more: end some, or raise the "
    "limit";

const Shortage* ShortageOf(std::string_view text) {
    static constexpr Shortage kShortages[] = {
        {"failed to map segment from shared object", ORVANE_NO_MEMORY, std::errc(), kNoMemoryForModel},
        {"std::bad_alloc", ORVANE_NO_MEMORY, std::errc(), kNoMemoryForModel},
        {"Resource temporarily unavailable", ORVANE_SYSTEM, std::errc::resource_unavailable_try_again, kNoThreads},
    };
    for (const Shortage& shortage : kShortages) {
        if (text.find(shortage.sign) != std::string_view::npos) {
            return &shortage;
        }
    }
    return nullptr;
}

// Returns an explanation, then the fixed text in parentheses.
std::string Explained(const std::string& explanation, const std::string& fixedText) {
    return explanation + " (" + fixedText + ")";
}

int32_t ReasonOf(FailureReason reason) {
    switch (reason) {
        case FailureReasonRuntime:
            return ORVANE_RUNTIME;
        case FailureReasonSystem:
        case FailureReasonHostStart:
            return ORVANE_SYSTEM;
        case FailureReasonHostEnded:
            return ORVANE_HOST_ENDED;
        default:
            return ORVANE_REFUSED;
    }
}

int32_t CauseOf(const HostEnd& end) {
    switch (end.cause) {
        case HostEndCauseExit:
            return ORVANE_HOST_END_EXIT;
        case HostEndCauseSignal:
            return ORVANE_HOST_END_SIGNAL;
        case HostEndCauseInterrupted:
            return ORVANE_HOST_END_INTERRUPTED;
        case HostEndCauseTimeLimit:
            return ORVANE_HOST_END_TIME_LIMIT;
        case HostEndCauseBadReply:
            return ORVANE_HOST_END_BAD_REPLY;
        default:
            return ORVANE_HOST_END_UNKNOWN;
    }
}

const char* AdviceFor(const HostEnd& end, bool isLoaded) {
    switch (end.cause) {
        case HostEndCauseTimeLimit:
            return isLoaded ? "restart the model, or allow more time" : "allow more time";
        case HostEndCauseBadReply:
            return "use the host program that belongs to this library, and restart the model";
        default:
            return isLoaded
                       ? "restart the model"
                       : "check that the host program is orvane_host, and that it can load the model with this device";
    }
}

}  // namespace

Failure FailureOf(const Status& status, const std::string& device) {
    const int32_t reason = ReasonOf(status.reason);
    const std::string text = status.message.substr(0, status.message.find_last_not_of("\n ") + 1);
    if (reason == ORVANE_SYSTEM) {
        return {reason,
                Explained("the system lacks what a host process needs: " +
                              Platform::SystemMessage(static_cast<uint32_t>(status.code)),
                          text),
                status.code};
    }
    if (const Shortage* shortage = ShortageOf(text); shortage != nullptr) {
        return {shortage->reason, Explained(shortage->explanation, text), static_cast<int32_t>(shortage->system)};
    }
    if (text == kWrongDevice) {
        return {reason, Explained("OpenVINO lists no device \"" + (device.empty() ? "CPU" : device) +
                                      "\" on this machine: name another one, or none for the CPU",
                                  text)};
    }
    const char* explanation = ExplanationOf(text);
    return {reason, explanation != nullptr ? Explained(explanation, text) : text};
}

Failure HostStartFailure(const std::string& program, const Status& status) {
    const std::error_code error(status.code, std::system_category());
    const char* advice = "pass the path of orvane_host";
    if (error == std::errc::resource_unavailable_try_again) {
        advice = kNoThreads;
    } else if (error == std::errc::not_enough_memory) {
        advice = "free memory, or raise the limit";
    } else if (error == std::errc::too_many_files_open) {
        advice = "close files, or raise the limit of open files";
    }
    return {ORVANE_SYSTEM,
            Explained("the host program " + program + " cannot be started: " +
                          Platform::SystemMessage(static_cast<uint32_t>(status.code)) + "; " + advice,
                      status.message),
            status.code};
}

Failure HostEndedFailure(const HostEnd& end, bool isLoaded) {
    std::string text =
        isLoaded ? "the host process has ended: " : "the host process ended before the model was loaded: ";
    text.append(end.text.empty() ? "the system does not say how" : end.text);
    text.append("; ").append(AdviceFor(end, isLoaded));
    return {ORVANE_HOST_ENDED, Explained(text, kHostExit), 0, CauseOf(end)};
}

orvane_error* CaughtError() noexcept {
    try {
        try {
            throw;
        } catch (const Failure& failure) {
            return MakeError(failure.Reason(), failure.System(), failure.what(), failure.HostEnd());
        } catch (const Platform::FileError& error) {
            const auto code = static_cast<int32_t>(error.Code());
            return MakeError(code != 0 ? ORVANE_SYSTEM : ORVANE_REFUSED, code, error.what());
        } catch (const std::bad_alloc&) {
            return MakeError(ORVANE_NO_MEMORY, 0, "there is not enough memory; use a smaller model or smaller tensors");
        } catch (const std::exception& error) {
            return MakeError(ORVANE_RUNTIME, 0, error.what());
        } catch (...) {
            return MakeError(ORVANE_RUNTIME, 0, "the inference runtime failed without a message");
        }
    } catch (...) {
        return NoMemory();
    }
}

void FreeError(orvane_error* error) noexcept {
    if (error != NoMemory()) {
        delete error;
    }
}

}  // namespace Orvane::C
