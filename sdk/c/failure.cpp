#include "sdk/c/failure.h"

#include "platform/file_error.h"
#include "sdk/c/utf8.h"

#include <exception>
#include <new>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

namespace Orvane::C {

namespace {

orvane_error* NoMemory() noexcept {
    static orvane_error error{ORVANE_NO_MEMORY, 0, "no memory left"};  // short enough to need none
    return &error;
}

orvane_error* MakeError(int32_t reason, int32_t system, const char* message, int32_t hostEnd = 0) {
    return new orvane_error{reason, system, AsUtf8(message), hostEnd};
}

const char* ExplanationOf(std::string_view message) {
    static constexpr std::pair<std::string_view, const char*> kExplanations[] = {
        {"模型参数错误", "wrong model parameters: give model_path, or the cache_path of a file that exists"},
        {"不支持的设备类型",
         "unsupported device: OpenVINO lists no such device on this machine; leave device out for "
         "the CPU"},
        {"数据大小错误", "wrong data size: give exactly as many bytes as the tensor has"},
        {"Tensor 参数错误", "wrong tensor parameter: the model has no such input"},
        {"不支持此操作", "this operation is not supported"},
        {"OpenVINO is not enabled\n",
         "this library runs models in a host process only: give host_program, or use the "
         "library orvane_c"},
    };
    for (const auto& [text, explanation] : kExplanations) {
        if (text == message) {
            return explanation;
        }
    }
    return nullptr;
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

}  // namespace

Failure FailureOf(const Status& status) {
    const int32_t reason = ReasonOf(status.reason);
    std::string message = status.message;
    if (const char* explanation = ExplanationOf(message); explanation != nullptr) {
        message += std::string(" (") + explanation + ")";
    }
    if (reason == ORVANE_SYSTEM) {
        message += " (" + std::system_category().message(status.code) + ")";
    }
    return {reason, message, reason == ORVANE_SYSTEM ? status.code : 0};
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

std::string Explain(const HostEnd& end) {
    // Signals are Linux's and large exit values are Windows'; neither has the other's.
    static constexpr std::tuple<HostEndCause, uint32_t, const char*> kMeanings[] = {
        {HostEndCauseExit, 127, "a library that it needs was not found"},
        {HostEndCauseExit, 0xC0000135, "a DLL that it needs was not found"},
        {HostEndCauseSignal, 4, "the processor lacks an instruction that the runtime used"},
        {HostEndCauseExit, 0xC000001D, "the processor lacks an instruction that the runtime used"},
        {HostEndCauseSignal, 6, "it gave up, for instance because there was not enough memory"},
        {HostEndCauseSignal, 9, "somebody killed it, or the system did when memory ran out"},
        {HostEndCauseExit, 0xC0000017, "there was not enough memory"},
    };
    std::string text = end.text.empty() ? "nobody knows how" : end.text;
    for (const auto& [cause, value, meaning] : kMeanings) {
        text += cause == end.cause && value == end.value ? std::string(", ") + meaning : "";
    }
    return text;
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
            return MakeError(ORVANE_RUNTIME, 0, "the inference runtime failed without saying why");
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
