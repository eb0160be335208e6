#include "host/dispatcher.h"

#include "ipc/call_protocol.h"
#include "platform/process.h"

#include <utility>

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

// `size` bytes of an output, copied by the backend straight into the section, and the status of the copy.
void ReplyOutput(MessageBuffer& message, TensorImpl& tensor, uint32_t size) {
    message.Rewind();
    message.WriteUInt32(size);
    message.WriteStatus(tensor.CopyTo(message.Reserve(size), size));
}

Status Initialise(HostSession& session, const MessageBuffer::Run& flatForm) {
    InterpreterParams params;
    const OptionHandle option = CreateOption();
    option->Deserialize(flatForm.data, flatForm.size);
    const Status converted = option->ToParams(params);
    params.host.clear();  // the model runs here, whatever the client's own options say

    session.interpreter = std::make_unique<Interpreter>();  // an earlier model goes before the next one is loaded
    return converted.Ok() ? session.interpreter->Init(params) : converted;
}

void Carry(HostSession& session, uint32_t call) {
    MessageBuffer& message = session.channel.message;
    switch (call) {
        case CallInit:
            ReplyStatus(message, Initialise(session, message.ReadRun()));
            break;
        case CallGetTensorCount: {
            const bool outputs = message.ReadUInt32() != 0;
            Interpreter& interpreter = InterpreterOf(session);
            const int32_t count = outputs ? interpreter.GetOutputCount() : interpreter.GetInputCount();
            message.Rewind();
            message.WriteUInt32(static_cast<uint32_t>(count));
            break;
        }
        case CallGetTensorInfo: {
            const uint32_t type = message.ReadUInt32();
            const TensorHandle tensor = TensorOf(session, type, message.ReadUInt32());
            message.Rewind();
            WriteTensorInfo(message, *tensor);
            break;
        }
        case CallSetInputData: {
            const TensorHandle tensor = TensorOf(session, TensorTypeInput, message.ReadUInt32());
            const MessageBuffer::Run data = message.ReadRun();
            ReplyStatus(message, tensor->CopyFrom(data.data, data.size));
            break;
        }
        case CallInvoke:
            ReplyStatus(message, InterpreterOf(session).Invoke());
            break;
        case CallCopyOutputTo: {
            const TensorHandle tensor = TensorOf(session, TensorTypeOutput, message.ReadUInt32());
            ReplyOutput(message, *tensor, message.ReadUInt32());
            break;
        }
        case CallGetTensorData: {
            const TensorHandle tensor = TensorOf(session, TensorTypeOutput, message.ReadUInt32());
            ReplyOutput(message, *tensor, static_cast<uint32_t>(tensor->GetByteSize()));
            break;
        }
        case CallGetExtraInfo: {
            const auto info = InterpreterOf(session).GetExtraInfo();
            message.Rewind();
            WriteExtraInfo(message, info);
            break;
        }
        case CallSetTensorShape: {
            const uint32_t type = message.ReadUInt32();
            const uint32_t index = message.ReadUInt32();
            const std::vector<int64_t> shape = ReadShape(message);
            ReplyStatus(message, TensorOf(session, type, index)->Resize(shape));
            break;
        }
        default:  // no call: the client reads what it wrote
            break;
    }
}

}  // namespace

void Serve(HostSession& session) {
    for (uint32_t call = CallInit; call != CallExit;) {
        session.channel.callEvent.Wait(Platform::Event::kForever);
        session.channel.message.Rewind();
        call = session.channel.message.ReadUInt32();
        Carry(session, call);
        session.channel.resultEvent.Set();
    }
}

}  // namespace Orvane
