#include "backends/remote/remote_wrapper.h"

#include <orvane/option_v2.h>

#include "core/backend_factory.h"
#include "core/error_status.h"
#include "core/system_exception.h"
#include "platform/last_error.h"

#include <cstring>
#include <memory>
#include <utility>

namespace Orvane {

namespace {

// Milliseconds between two looks at whether the host still lives, and until a living one that does not answer is
// given up, after some 55 hours: in practice only a dead host ends a wait.
constexpr uint32_t kWaitSlice = 200;
constexpr int64_t kWaitBudget = 200'000'000;

// The two blanks are deliberate: applications compare the text.
constexpr const char* kHostCallError = "host call  error";

Status HostEnded(const char* text = kHostExit) {
    return MakeErrorStatus(text, kErrorCode, FailureReasonHostEnded);
}

// What `SharedChannel::Reserve` failed with.
Status SectionStatus() {
    return MakeErrorStatus(kSectionError, static_cast<int32_t>(Platform::LastError()), FailureReasonSystem);
}

}  // namespace

std::unique_ptr<IOrvane> CreateRemoteBackend() {
    return std::make_unique<RemoteWrapper>();
}

// Lets `write` put a request into the channel and returns when the reply can be read from it. False when there is no
// channel, or no host any more. The caller holds the lock until it has read the reply.
template <typename Write>
bool RemoteWrapper::Exchange(Write write) {
    if (!channel.message.IsAttached()) {
        return false;
    }
    write(channel.message);
    return Transact();
}

bool RemoteWrapper::Transact() {
    channel.callEvent.Set();
    for (int64_t budget = kWaitBudget; !channel.resultEvent.Wait(kWaitSlice); budget -= kWaitSlice) {
        if (!host.IsAlive() || budget < 1) {
            Release();
            return false;
        }
    }
    channel.message.Rewind();
    return true;
}

Status RemoteWrapper::Init(const InterpreterParams& params) {
    const std::lock_guard guard(channel.lock);
    const OptionHandle option = CreateOption();
    option->FromParams(params);
    const auto size = static_cast<uint32_t>(option->Serialize(nullptr, 0));
    FailureReason reason = FailureReasonSystem;
    try {
        if (!host || !host.IsAlive()) {
            if (host) {
                Release();
            }
            channel.Create(kChannelSize);
            reason = FailureReasonHostStart;
            LaunchHost(params.host);
        }
        reason = FailureReasonSystem;
        if (!channel.Reserve(size)) {
            ThrowSystemError(kSectionError);
        }
    } catch (const SystemException& error) {
        Release();
        return MakeErrorStatus(error.what(), static_cast<int32_t>(error.Code()), reason);
    }
    const bool answered = Exchange([&option, size](MessageBuffer& message) {
        WriteRequest(message, CallInit, size);
        const uint32_t room = message.Room();
        if (option->Serialize(message.Reserve(size), room) != size) {
            Platform::FailFast();  // like every write that does not fit
        }
    });
    return answered ? channel.message.ReadStatus() : HostEnded();
}

void RemoteWrapper::LaunchHost(const std::string& program) {
    Platform::Token token = Platform::Token::OpenCurrent();
    if (!token) {
        ThrowSystemError("OpenProcessToken error");
    }
    job = Platform::Job::Create();
    if (!job) {
        ThrowSystemError("CreateJobObject error");
    }
    if (!job.SetKillOnClose()) {
        ThrowSystemError("SetInformationJobObject error");
    }
    Platform::Process process;
    {
        const Platform::QuietErrors quiet;
        process = Platform::Process::CreateSuspended(token, program, channel.hostArguments);
    }
    if (!process) {
        ThrowSystemError("CreateProcessAsUser error");
    }
    if (!job.Assign(process)) {
        process.Abandon();
        ThrowSystemError("AssignProcessToJobObject error");
    }
    process.Resume();
    host = std::move(process);
    token.Close();
}

void RemoteWrapper::Release() {
    const std::lock_guard guard(channel.lock);
    if (channel.message.IsAttached()) {
        WriteRequest(channel.message, CallExit);  // never signalled: closing the job is what ends the host
    }
    job = {};
    host = {};
    channel.ReleaseSection();
}

int32_t RemoteWrapper::GetTensorCount(TensorType type) {
    const std::lock_guard guard(channel.lock);
    const bool answered =
        Exchange([type](MessageBuffer& message) { WriteRequest(message, CallGetTensorCount, uint32_t{type}); });
    return answered ? static_cast<int32_t>(channel.message.ReadUInt32()) : 0;
}

TensorInfo RemoteWrapper::GetTensorInfo(TensorType type, uint32_t index) {
    const std::lock_guard guard(channel.lock);
    const bool answered = Exchange(
        [type, index](MessageBuffer& message) { WriteRequest(message, CallGetTensorInfo, uint32_t{type}, index); });
    return answered ? ReadTensorInfo(channel.message) : TensorInfo();
}

Status RemoteWrapper::SetInputData(uint32_t index, const void* data, uint32_t size) {
    const std::lock_guard guard(channel.lock);
    if (!channel.Reserve(size)) {
        return SectionStatus();
    }
    const bool answered = Exchange([index, data, size](MessageBuffer& message) {
        WriteRequest(message, CallSetInputData, index);
        message.WriteRun(data, size);
    });
    return answered ? channel.message.ReadStatus() : HostEnded();
}

Status RemoteWrapper::Invoke() {
    const std::lock_guard guard(channel.lock);
    const bool answered = Exchange([](MessageBuffer& message) { WriteRequest(message, CallInvoke); });
    return answered ? channel.message.ReadStatus() : HostEnded();
}

Status RemoteWrapper::CopyOutputTo(uint32_t index, void* data, uint32_t size) {
    const std::lock_guard guard(channel.lock);
    if (!channel.Reserve(size)) {
        return SectionStatus();
    }
    const bool answered =
        Exchange([index, size](MessageBuffer& message) { WriteRequest(message, CallCopyOutputTo, index, size); });
    if (!answered) {
        return HostEnded();
    }
    const MessageBuffer::Run output = channel.message.ReadRun();
    Status status = channel.message.ReadStatus();
    if (status.Ok() && output.size != 0) {
        std::memcpy(data, output.data, output.size);
    }
    return status;
}

void* RemoteWrapper::GetTensorData(TensorType type, uint32_t index) {
    if (type == TensorTypeInput) {
        return nullptr;
    }
    const std::lock_guard guard(channel.lock);
    // Only the host knows how much it will send.
    if (!channel.Reserve(kChannelSize) ||
        !Exchange([index](MessageBuffer& message) { WriteRequest(message, CallGetTensorData, index); })) {
        return nullptr;
    }
    const MessageBuffer::Run output = channel.message.ReadRun();
    return channel.message.ReadStatus().Ok() ? output.data : nullptr;
}

std::unordered_map<std::string, std::string> RemoteWrapper::GetExtraInfo() {
    const std::lock_guard guard(channel.lock);
    if (!Exchange([](MessageBuffer& message) { WriteRequest(message, CallGetExtraInfo); })) {
        return {};
    }
    return ReadExtraInfo(channel.message);
}

Status RemoteWrapper::SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) {
    const std::lock_guard guard(channel.lock);
    const bool answered = Exchange([type, index, &shape](MessageBuffer& message) {
        WriteRequest(message, CallSetTensorShape, uint32_t{type}, index);
        WriteShape(message, shape);
    });
    return answered ? channel.message.ReadStatus() : HostEnded(kHostCallError);
}

}  // namespace Orvane
