#include <orvane/interpreter.h>
#include <orvane/log.h>

#include "core/errors.h"
#include "core/host_control.h"
#include "core/i_orvane.h"
#include "core/interpreter_impl.h"
#include "platform/per_process.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace Orvane {

namespace {

// The error text for a framework without a backend. Spelling and line ends are deliberate: applications compare these
// texts.
const char* Refusal(uint32_t framework) {
    switch (framework) {
        case FrameworkTypeTFLite:
            return "Orvane::Interpreter::init kTflite is invalid with no choose it \n";
        case FrameworkTypeOnnxRuntime:
            return "Orvane::Interpreter::init kOnnxRuntimen is invalid with no choose it \n";
        case FrameworkTypeMnn:
            return "Orvane::Interpreter::init kMnn is invalid with no choose it \n";
        case FrameworkTypeCoreML:
            return "CoreML is not enabled\n";
        case FrameworkTypeTorchLite:
            return "TorchLite is not enabled\n";
        case FrameworkTypeInvalid:
            return "FrameworkType is invalid\n";
        case FrameworkTypeQnn:
            return "QNN is not enabled\n";
        case FrameworkTypeOpenvinoPlain:
        case FrameworkTypeOpenvino:
            return "OpenVINO is not enabled\n";
        default:
            Log(kLogLevelError, "[ORVANE]:Orvane::Interpreter::init FrameworkType is invalid");
            return "Orvane::Interpreter::init FrameworkType is invalid\n";
    }
}

}  // namespace

struct Interpreter::Shared {
    struct Host {
        std::mutex mutex;
        std::shared_ptr<HostControl> control;  // of the last backend, which may no longer exist; can be null
    };

    Platform::PerProcess<Host> host;
    std::atomic<bool> hasHost{false};  // if true while `control` is null, this is a forked child
    std::atomic<uint32_t> timeLimit{0};
};

// `shared` is null after a move from this interpreter.
Interpreter::Interpreter() : shared(std::make_unique<Shared>()) {}
Interpreter::~Interpreter() = default;
Interpreter::Interpreter(Interpreter&& other) noexcept = default;
Interpreter& Interpreter::operator=(Interpreter&& other) noexcept = default;

Status Interpreter::Init(const OptionV2& options) {
    InterpreterParams params;
    const Status status = options.ToParams(params);
    framework = params.framework;
    return status.Ok() ? Init(params) : status;
}

Status Interpreter::Init(const InterpreterParams& params) {
    framework = params.framework;
    std::unique_ptr<IOrvane> backend = params.host.empty() ? CreateLocalBackend(framework) : CreateRemoteBackend();
    if (backend == nullptr) {
        return MakeErrorStatus(Refusal(framework));
    }
    ShareHost(backend->GetHostControl());
    interpreter.reset();  // free the old model before the new model loads
    auto initialised = std::make_unique<InterpreterProxyImpl>(std::move(backend));
    Status status = initialised->Init(params);
    if (status.Ok()) {
        interpreter = std::move(initialised);
    }
    return status;
}

void Interpreter::ShareHost(std::shared_ptr<HostControl> host) {
    if (shared == nullptr) {
        shared = std::make_unique<Shared>();
    }
    Shared::Host& own = shared->host.Get();
    const std::lock_guard guard(own.mutex);
    shared->hasHost = host != nullptr;
    own.control = std::move(host);
    if (own.control != nullptr) {
        own.control->SetTimeLimit(shared->timeLimit);
    }
}

std::shared_ptr<HostControl> Interpreter::SharedHost() const {
    if (shared == nullptr) {
        return nullptr;
    }
    Shared::Host& own = shared->host.Get();
    const std::lock_guard guard(own.mutex);
    return own.control;
}

Status Interpreter::Interrupt() {
    const std::shared_ptr<HostControl> host = SharedHost();
    if (host == nullptr) {
        return MakeErrorStatus(kNotSupported);
    }
    host->Interrupt();
    return MakeSuccessStatus();
}

void Interpreter::SetTimeLimit(uint32_t milliseconds) {
    if (shared == nullptr) {
        shared = std::make_unique<Shared>();
    }
    Shared::Host& own = shared->host.Get();
    const std::lock_guard guard(own.mutex);
    shared->timeLimit = milliseconds;
    if (own.control != nullptr) {
        own.control->SetTimeLimit(milliseconds);
    }
}

HostEnd Interpreter::GetHostEnd() const {
    if (const std::shared_ptr<HostControl> host = SharedHost(); host != nullptr) {
        return host->GetEnd();
    }
    return shared != nullptr && shared->hasHost
               ? HostEnd{HostEndCauseUnknown, 0, "only the parent of this forked process knows it"}
               : HostEnd();
}

void Interpreter::Release() {
    if (interpreter != nullptr) {
        interpreter->Release();
    }
}

Status Interpreter::Invoke() {
    return interpreter != nullptr ? interpreter->Invoke() : MakeErrorStatus("Not Init success!");
}

int32_t Interpreter::GetInputCount() const {
    return interpreter != nullptr ? interpreter->GetInputCount() : 0;
}

int32_t Interpreter::GetOutputCount() const {
    return interpreter != nullptr ? interpreter->GetOutputCount() : 0;
}

TensorHandle Interpreter::GetInput() {
    return interpreter != nullptr ? interpreter->GetInput() : nullptr;
}

TensorHandle Interpreter::GetOutput() {
    return interpreter != nullptr ? interpreter->GetOutput() : nullptr;
}

TensorHandle Interpreter::GetTensorByName(TensorType type, const std::string& name) {
    return interpreter != nullptr ? interpreter->GetTensorByName(type, name) : nullptr;
}

TensorHandle Interpreter::GetTensor(TensorType type, uint32_t index) {
    return interpreter != nullptr ? interpreter->GetTensor(type, index) : nullptr;
}

std::unordered_map<std::string, std::string> Interpreter::GetExtraInfo() {
    return interpreter != nullptr ? interpreter->GetExtraInfo() : std::unordered_map<std::string, std::string>();
}

}  // namespace Orvane
