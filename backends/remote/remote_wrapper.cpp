#include "backends/remote/remote_wrapper.h"

#include <orvane/option_v2.h>

#include "core/backend_factory.h"
#include "core/error_status.h"
#include "core/system_exception.h"
#include "ipc/call_protocol.h"
#include "platform/last_error.h"
#include "platform/process.h"

#include <cstring>
#include <memory>

namespace Orvane {

namespace {

// Milliseconds between two looks at whether the host still lives, and until a living one that does not answer is
// given up, after some 55 hours: in practice only a dead host ends a wait.
constexpr uint32_t kWaitSlice = 200;
constexpr int64_t kWaitBudget = 200'000'000;

// The two blanks are deliberate: applications compare the text.
constexpr const char* kHostCallError = "host call  error";

const char* LaunchError(Platform::LaunchStep step) {
    switch (step) {
        case Platform::LaunchStep::OpenToken:
            return "OpenProcessToken error";
        case Platform::LaunchStep::CreateJob:
            return "CreateJobObject error";
        case Platform::LaunchStep::LimitJob:
            return "SetInformationJobObject error";
        case Platform::LaunchStep::StartProgram:
            return "CreateProcessAsUser error";
        default:
            return "AssignProcessToJobObject error";
    }
}

// Writes a call and its u32 fields.
template <typename... Fields>
auto Request(Call call, Fields... fields) {
    return [=](MessageBuffer& message) { WriteRequest(message, call, fields...); };
}

Status ReadStatus(MessageBuffer& message) {
    return message.ReadStatus();
}

}  // namespace

std::unique_ptr<IOrvane> CreateRemoteBackend() {
    return std::make_unique<RemoteWrapper>();
}

template <typename Write, typename Read, typename Fail>
std::invoke_result_t<Read, MessageBuffer&> RemoteWrapper::Exchange(uint32_t dataSize, Write write, Read read,
                                                                   Fail fail) {
    const std::lock_guard guard(channel.lock);
    if (!channel.EnsureMemory(dataSize)) {
        return fail(Obstacle::NoMemory);
    }
    if (!channel.message.IsAttached()) {
        return fail(Obstacle::NoHost);
    }
    write(channel.message);
    return Transact() ? read(channel.message) : fail(Obstacle::NoHost);
}

template <typename Write>
Status RemoteWrapper::ExchangeForStatus(uint32_t dataSize, Write write, const char* noHost) {
    return Exchange(dataSize, write, ReadStatus, [noHost](Obstacle obstacle) { return Failed(obstacle, noHost); });
}

Status RemoteWrapper::Failed(Obstacle obstacle, const char* noHost) {
    if (obstacle == Obstacle::NoMemory) {
        return MakeErrorStatus(kSectionError, static_cast<int32_t>(Platform::LastError()), FailureReasonSystem);
    }
    return MakeErrorStatus(noHost, kErrorCode, FailureReasonHostEnded);
}

bool RemoteWrapper::Transact() {
    channel.callEvent.Set();
    for (int64_t budget = kWaitBudget; !channel.resultEvent.Wait(kWaitSlice, Platform::Awaited::Result);
         budget -= kWaitSlice) {
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
    if (Status status = EnsureHost(params.host, size); !status.Ok()) {
        return status;
    }
    return ExchangeForStatus(size, [&option, size](MessageBuffer& message) {
        WriteRequest(message, CallInit, size);
        const uint32_t room = message.Room();
        if (option->Serialize(message.ReserveBytes(size), room) != size) {
            Platform::FailFast();  // like every write that does not fit
        }
    });
}

// A living host, and a channel to it that has memory for a first call of this size.
Status RemoteWrapper::EnsureHost(const std::string& program, uint32_t dataSize) {
    FailureReason reason = FailureReasonSystem;
    try {
        if (host && !host.IsAlive()) {
            Release();
        }
        if (!host) {
            channel.Create(kChannelSize);
            reason = FailureReasonHostStart;
            LaunchHost(program);
            reason = FailureReasonSystem;
        }
        if (!channel.EnsureMemory(dataSize)) {
            ThrowSystemError(kSectionError);
        }
        return MakeSuccessStatus();
    } catch (const SystemException& error) {
        Release();
        return MakeErrorStatus(error.what(), static_cast<int32_t>(error.Code()), reason);
    }
}

void RemoteWrapper::LaunchHost(const std::string& program) {
    if (const auto failed = host.Launch(program, channel.hostArguments)) {
        ThrowSystemError(LaunchError(*failed));
    }
}

void RemoteWrapper::Release() {
    const std::lock_guard guard(channel.lock);
    if (channel.message.IsAttached()) {
        WriteRequest(channel.message, CallExit);  // never signalled: closing the host is what ends it
    }
    host.Close();
    channel.ReleaseSection();
}

int32_t RemoteWrapper::GetTensorCount(TensorType type) {
    return Exchange(
        0, Request(CallGetTensorCount, uint32_t{type}),
        [](MessageBuffer& reply) { return static_cast<int32_t>(reply.ReadUInt32()); }, [](Obstacle) { return 0; });
}

TensorInfo RemoteWrapper::GetTensorInfo(TensorType type, uint32_t index) {
    return Exchange(0, Request(CallGetTensorInfo, uint32_t{type}, index), ReadTensorInfo,
                    [](Obstacle) { return TensorInfo(); });
}

Status RemoteWrapper::SetInputData(uint32_t index, const void* data, uint32_t size) {
    return ExchangeForStatus(size, [index, data, size](MessageBuffer& message) {
        WriteRequest(message, CallSetInputData, index);
        message.WriteBytes(data, size);
    });
}

Status RemoteWrapper::Invoke() {
    return ExchangeForStatus(0, Request(CallInvoke));
}

Status RemoteWrapper::CopyOutputTo(uint32_t index, void* data, uint32_t size) {
    return Exchange(
        size, Request(CallCopyOutputTo, index, size),
        [data](MessageBuffer& reply) {
            const MessageBuffer::Bytes output = reply.ReadBytes();
            Status status = reply.ReadStatus();
            if (status.Ok() && output.size != 0) {
                std::memcpy(data, output.data, output.size);
            }
            return status;
        },
        [](Obstacle obstacle) { return Failed(obstacle, kHostExit); });
}

void* RemoteWrapper::GetTensorData(TensorType type, uint32_t index) {
    if (type == TensorTypeInput) {
        return nullptr;
    }
    return Exchange(
        kChannelSize,  // only the host knows how much it will send
        Request(CallGetTensorData, index),
        [](MessageBuffer& reply) -> void* {
            const MessageBuffer::Bytes output = reply.ReadBytes();
            return reply.ReadStatus().Ok() ? output.data : nullptr;
        },
        [](Obstacle) { return nullptr; });
}

std::unordered_map<std::string, std::string> RemoteWrapper::GetExtraInfo() {
    return Exchange(0, Request(CallGetExtraInfo), ReadExtraInfo,
                    [](Obstacle) { return std::unordered_map<std::string, std::string>(); });
}

Status RemoteWrapper::SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) {
    return ExchangeForStatus(
        0,
        [type, index, &shape](MessageBuffer& message) {
            WriteRequest(message, CallSetTensorShape, uint32_t{type}, index);
            WriteShape(message, shape);
        },
        kHostCallError);
}

}  // namespace Orvane
