#include "backends/remote/remote_wrapper.h"

#include <orvane/option_v2.h>

#include "core/call_watch.h"
#include "core/deadline.h"
#include "core/deferred_log.h"
#include "core/errors.h"
#include "core/i_orvane.h"
#include "ipc/call_protocol.h"
#include "platform/copy_data.h"
#include "platform/last_error.h"
#include "platform/process.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace Orvane {

namespace {

// In milliseconds: how often a wait checks whether the host process is alive, and how long it waits for a live host
// process without a time limit. The latter is about 55 hours: in practice only the end of the host process ends the
// wait.
constexpr uint32_t kWaitSlice = 200;
constexpr int64_t kWaitBudget = 200'000'000;

// The two blanks are deliberate: applications compare this text.
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

// Returns a function that writes a request with these u32 fields.
template <typename... Fields>
auto Request(Call call, Fields... fields) {
    return [=](MessageBuffer& message) { WriteRequest(message, call, fields...); };
}

// Bytes of a tensor's data in a channel, at most the size of the channel.
uint32_t BytesInChannel(const TensorInfo& info) {
    uint64_t size = DataTypeSize(info.dataType);
    for (const int64_t dimension : info.shape) {  // each has 32 bits, so the limited product cannot overflow
        size = std::min<uint64_t>(size * static_cast<uint64_t>(dimension), RemoteWrapper::kChannelSize);
    }
    return static_cast<uint32_t>(size);
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
    if (!owner.IsThisProcess()) {
        return fail(NoReply::NoHost);
    }
    const DeferredLog log;
    const std::lock_guard guard(*channel.lock);
    if (!channel.EnsureMemory(dataSize)) {
        return fail(NoReply::NoMemory);
    }
    if (!channel.message.IsAttached()) {
        return fail(NoReply::NoHost);
    }
    write(channel.message);
    try {
        return Transact() ? ReadReply(read) : fail(NoReply::NoHost);
    } catch (const MessageBuffer::OverrunError&) {
        ReleaseFor(HostEndCauseBadReply);
        return fail(NoReply::NoHost);
    }
}

template <typename Read>
std::invoke_result_t<Read, MessageBuffer&> RemoteWrapper::ReadReply(Read read) {
    try {
        return read(channel.message);
    } catch (const MessageBuffer::OverrunError&) {
        // The reply is longer than expected, but it may be correct, for instance a long text.
        if (!channel.EnsureMemory(kChannelSize)) {
            throw;
        }
        channel.message.Rewind();
        return read(channel.message);
    }
}

template <typename Write>
Status RemoteWrapper::ExchangeForStatus(uint32_t dataSize, Write write, const char* noHost) {
    return Exchange(dataSize, write, ReadStatus, [noHost](NoReply why) { return Failed(why, noHost); });
}

Status RemoteWrapper::Failed(NoReply why, const char* noHost) {
    if (why == NoReply::NoMemory) {
        return MakeErrorStatus(kSectionError, static_cast<int32_t>(Platform::LastError()), FailureReasonSystem);
    }
    return MakeErrorStatus(noHost, kErrorCode, FailureReasonHostEnded);
}

bool RemoteWrapper::Transact() {
    CallWatch::Check();
    const Deadline limit(host->TimeLimit());
    channel.message.Rewind();
    const uint32_t call = channel.message.ReadUInt32();
    channel.callEvent.Set();
    for (int64_t budget = kWaitBudget;
         !channel.resultEvent.Wait(CallWatch::UntilCheck(limit.Left(kWaitSlice)), Platform::Awaited::Result, call);
         budget -= kWaitSlice) {
        const bool isAlive = host->IsAlive();
        if (!isAlive || limit.IsOver() || budget < 1) {
            ReleaseFor(isAlive ? HostEndCauseTimeLimit : HostEndCauseUnknown);
            return false;
        }
        CallWatch::Check();
    }
    channel.message.Rewind();
    return true;
}

void RemoteWrapper::ReleaseFor(HostEndCause cause) {
    host->NoteEnd(cause);
    Release();
}

// The child has copies of everything but owns nothing: it must not touch the host process or the content of the
// section. If another thread held the lock during the fork, the lock stays locked in the child.
void RemoteWrapper::ForgetParent() {
    // Deliberately leaks: a thread that held the lock and forked in a callback still unlocks it.
    [[maybe_unused]] const std::recursive_mutex* const kept = channel.lock.release();
    channel.lock = std::make_unique<std::recursive_mutex>();
    channel.ReleaseSection();
    owner = {};
}

Status RemoteWrapper::Init(const InterpreterParams& params) {
    if (!owner.IsThisProcess()) {
        ForgetParent();
    }
    host->BeginInitialisation();
    const DeferredLog log;
    const std::lock_guard guard(*channel.lock);
    const OptionHandle option = CreateOption();
    option->FromParams(params);
    const auto size = static_cast<uint32_t>(option->Serialize(nullptr, 0));
    outputBytes.clear();
    CallWatch::BeginStep(LoadStep::StartingHost);
    if (Status status = EnsureHost(params.host, size); !status.Ok()) {
        return status;
    }
    CallWatch::BeginStep(LoadStep::InHost);
    return ExchangeForStatus(size, [&option, size](MessageBuffer& message) {
        WriteRequest(message, CallInit, size);
        const uint32_t room = message.Room();
        if (option->Serialize(message.ReserveBytes(size), room) != size) {
            Platform::FailFast();  // as for every write that does not fit
        }
    });
}

// Ensures that there are a live host process and a channel, with memory for a first call of this size.
Status RemoteWrapper::EnsureHost(const std::string& program, uint32_t dataSize) {
    FailureReason reason = FailureReasonSystem;
    try {
        if (host->Exists() && !host->IsAlive()) {
            Release();
        }
        if (!host->Exists()) {
            channel.Create(kChannelSize);
            if (const auto failed = host->Launch(program, channel.hostArguments)) {
                const bool started = *failed != Platform::LaunchStep::StartProgram;
                reason = started ? FailureReasonSystem : FailureReasonHostStart;
                ThrowSystemError(LaunchError(*failed));
            }
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

void RemoteWrapper::Release() {
    if (!owner.IsThisProcess()) {
        ForgetParent();
        return;
    }
    const std::lock_guard guard(*channel.lock);
    if (channel.message.IsAttached()) {
        WriteRequest(channel.message, CallExit);  // sent only if the system refuses to end the host process
    }
    if (!host->Terminate()) {
        channel.callEvent.Set();  // asks the host process, which exits after its current work
    }
    host->Close();
    channel.ReleaseSection();
}

int32_t RemoteWrapper::GetTensorCount(TensorType type) {
    return Exchange(
        0, Request(CallGetTensorCount, uint32_t{type}),
        [](MessageBuffer& reply) { return static_cast<int32_t>(reply.ReadUInt32()); }, [](NoReply) { return 0; });
}

TensorInfo RemoteWrapper::GetTensorInfo(TensorType type, uint32_t index) {
    return Exchange(
        0, Request(CallGetTensorInfo, uint32_t{type}, index),
        [this, type, index](MessageBuffer& reply) {
            TensorInfo info = ReadTensorInfo(reply);
            if (type != TensorTypeInput) {
                outputBytes[index] = BytesInChannel(info);
            }
            return info;
        },
        [](NoReply) { return TensorInfo(); });
}

// If the data is in the section, such as an output, moves it to its place in the request. Otherwise the request's other
// fields could overwrite it first. Returns the address of the data.
const void* RemoteWrapper::MoveWithinSection(const void* data, uint32_t size) {
    uint8_t* const section = channel.view->Data();
    const auto offset = reinterpret_cast<uintptr_t>(data) - reinterpret_cast<uintptr_t>(section);
    if (offset == kInputDataOffset || offset >= kChannelSize ||
        size > kChannelSize - std::max<uint64_t>(offset, kInputDataOffset)) {
        return data;
    }
    return std::memmove(section + kInputDataOffset, data, size);
}

Status RemoteWrapper::SetInputData(uint32_t index, const void* data, uint32_t size) {
    return ExchangeForStatus(size, [this, index, data, size](MessageBuffer& message) {
        const void* source = MoveWithinSection(data, size);
        WriteRequest(message, CallSetInputData, index);
        message.WriteBytes(source, size);
    });
}

Status RemoteWrapper::GetInputMemory(uint32_t /*index*/, uint32_t size, std::shared_ptr<void>& memory) {
    if (!owner.IsThisProcess()) {
        return Failed(NoReply::NoHost, kHostExit);
    }
    const DeferredLog log;
    const std::lock_guard guard(*channel.lock);
    if (size > kMaxHostTensorBytes) {
        return MakeErrorStatus(kWrongDataSize);
    }
    if (!channel.EnsureMemory(size)) {
        return Failed(NoReply::NoMemory, kHostExit);
    }
    if (channel.view == nullptr) {
        return Failed(NoReply::NoHost, kHostExit);
    }
    memory = std::shared_ptr<void>(channel.view, channel.view->Data() + kInputDataOffset);
    return MakeSuccessStatus();
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
            if (status.Ok()) {
                Platform::CopyData(data, output.data, output.size);
            }
            return status;
        },
        [](NoReply why) { return Failed(why, kHostExit); });
}

void* RemoteWrapper::GetTensorData(TensorType type, uint32_t index) {
    if (type == TensorTypeInput) {
        return nullptr;
    }
    return Exchange(
        OutputBytes(index), Request(CallGetTensorData, index),
        [](MessageBuffer& reply) -> void* {
            const MessageBuffer::Bytes output = reply.ReadBytes();
            return reply.ReadStatus().Ok() ? output.data : nullptr;
        },
        [](NoReply) { return nullptr; });
}

std::unordered_map<std::string, std::string> RemoteWrapper::GetExtraInfo() {
    return Exchange(0, Request(CallGetExtraInfo), ReadExtraInfo,
                    [](NoReply) { return std::unordered_map<std::string, std::string>(); });
}

// Returns the size that the host process described, or the size of a channel if the output was not described.
uint32_t RemoteWrapper::OutputBytes(uint32_t index) {
    if (!owner.IsThisProcess()) {
        return 0;
    }
    const std::lock_guard guard(*channel.lock);
    const auto known = outputBytes.find(index);
    return known != outputBytes.end() ? known->second : kChannelSize;
}

Status RemoteWrapper::SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) {
    return ExchangeForStatus(
        0,
        [this, type, index, &shape](MessageBuffer& message) {
            outputBytes.clear();
            WriteRequest(message, CallSetTensorShape, uint32_t{type}, index);
            WriteShape(message, shape);
        },
        kHostCallError);
}

}  // namespace Orvane
