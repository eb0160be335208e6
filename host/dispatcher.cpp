#include "host/dispatcher.h"

#include "host/sandbox.h"
#include "ipc/call_protocol.h"
#include "platform/process.h"

#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

namespace Orvane {

namespace {

Interpreter& InterpreterOf(HostSession& session) {
    if (session.interpreter == nullptr) {
        Platform::FailFast();
    }
    return *session.interpreter;
}

TensorHandle TensorOf(HostSession& session, uint32_t type, uint32_t index) {
    TensorHandle tensor = InterpreterOf(session).GetTensor(static_cast<TensorType>(type), index);
    if (tensor == nullptr) {
        Platform::FailFast();
    }
    return tensor;
}

void ReplyStatus(MessageBuffer& message, const Status& status) {
    message.Rewind();
    message.WriteStatus(status);
}

// Replies with `size` bytes of an output, which the backend copies straight into the section, and the status of the
// copy.
void ReplyOutput(MessageBuffer& message, TensorImpl& tensor, uint32_t size) {
    message.Rewind();
    message.WriteUInt32(size);
    message.WriteStatus(tensor.CopyTo(message.ReserveBytes(size), size));
}

// --- The calls. Each reads its request, and writes its reply over the request. ---

void Init(HostSession& session) {
    const MessageBuffer::Bytes flatForm = session.channel.message.ReadBytes();
    InterpreterParams params;
    const OptionHandle option = CreateOption();
    option->Deserialize(flatForm.data, flatForm.size);  // deliberately ignores the result and uses what was read
    Status status = option->ToParams(params);
    params.host.clear();  // the model runs here, whatever the client's options say

    session.interpreter = std::make_unique<Interpreter>();  // frees an earlier model before the next load
    if (status.Ok()) {
        EnterSandbox(params);
        status = session.interpreter->Init(params);
    }
    ReplyStatus(session.channel.message, status);
}

void GetTensorCount(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const bool outputs = message.ReadUInt32() != 0;
    const Interpreter& interpreter = InterpreterOf(session);
    const int32_t count = outputs ? interpreter.GetOutputCount() : interpreter.GetInputCount();
    message.Rewind();
    message.WriteUInt32(static_cast<uint32_t>(count));
}

void GetTensorInfo(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const uint32_t type = message.ReadUInt32();
    const TensorHandle tensor = TensorOf(session, type, message.ReadUInt32());
    message.Rewind();
    WriteTensorInfo(message, *tensor);
}

void SetInputData(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const TensorHandle tensor = TensorOf(session, TensorTypeInput, message.ReadUInt32());
    const MessageBuffer::Bytes data = message.ReadBytes();
    ReplyStatus(message, tensor->CopyFrom(data.data, data.size));
}

void Invoke(HostSession& session) {
    ReplyStatus(session.channel.message, InterpreterOf(session).Invoke());
}

void CopyOutputTo(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const TensorHandle tensor = TensorOf(session, TensorTypeOutput, message.ReadUInt32());
    ReplyOutput(message, *tensor, message.ReadUInt32());
}

void GetTensorData(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const TensorHandle tensor = TensorOf(session, TensorTypeOutput, message.ReadUInt32());
    ReplyOutput(message, *tensor, static_cast<uint32_t>(tensor->GetByteSize()));
}

void GetExtraInfo(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const auto info = InterpreterOf(session).GetExtraInfo();
    message.Rewind();
    WriteExtraInfo(message, info);
}

void SetTensorShape(HostSession& session) {
    MessageBuffer& message = session.channel.message;
    const uint32_t type = message.ReadUInt32();
    const uint32_t index = message.ReadUInt32();
    const std::vector<int64_t> shape = ReadShape(message);
    ReplyStatus(message, TensorOf(session, type, index)->Resize(shape));
}

// The index is the number of the call. `CallExit` and unknown numbers get no reply: the client reads its own request.
constexpr void (*kCalls[])(HostSession&) = {Init,         GetTensorCount, GetTensorInfo, SetInputData,  Invoke,
                                            CopyOutputTo, GetTensorData,  GetExtraInfo,  SetTensorShape};
static_assert(std::size(kCalls) == CallExit);

}  // namespace

uint32_t Answer(HostSession& session) {
    session.channel.message.Rewind();
    const uint32_t call = session.channel.message.ReadUInt32();
    if (call < std::size(kCalls)) {
        kCalls[call](session);
    }
    return call;
}

void Serve(HostSession& session) {
    for (uint32_t call = CallInit; call != CallExit;) {
        session.channel.callEvent.Wait(Platform::Event::kForever, Platform::Awaited::Work, call);
        call = Answer(session);
        session.channel.resultEvent.Set();
    }
}

}  // namespace Orvane
