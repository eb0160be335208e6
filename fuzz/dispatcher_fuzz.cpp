// The host's dispatcher: a host replies exactly as a local interpreter does.
#include "core/i_orvane.h"
#include "fuzz/fuzz_target.h"
#include "host/dispatcher.h"
#include "host/sandbox.h"
#include "ipc/call_protocol.h"
#include "testing/support/memory_backend.h"

#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Orvane {

namespace {

using Fuzz::Input;
using Fuzz::Require;

constexpr uint32_t kSection = 4096;
constexpr size_t kLargestRequest = 512;  // so that every reply fits, except an output's

// A model whose ports depend on the lengths of its path and its name. A run adds 1 to each byte of the first output,
// then copies the last input to the last output.
class Model final : public Testing::MemoryBackend {
 public:
    Status Init(const InterpreterParams& params) override {
        info = {{"path", params.modelPath}, {"device", params.openvinoDevice}};
        if (params.modelPath.empty()) {
            return {"no model", 3};
        }
        for (const auto& [type, text] :
             {std::pair(TensorTypeInput, params.modelPath), {TensorTypeOutput, params.modelName}}) {
            for (size_t i = 0; i <= text.size() % 3; ++i) {
                const size_t size = (text.size() + i * 7) % 40;
                AddPort(type, text, size, std::make_shared<std::string>(size, 'a'));
            }
        }
        return {};
    }
    Status Invoke() override {
        for (char& byte : *outputs[0].memory) {
            ++byte;
        }
        const std::string& from = *inputs.back().memory;
        std::string& to = *outputs.back().memory;
        to.replace(0, std::min(from.size(), to.size()), from, 0, to.size());
        return {};
    }
    std::unordered_map<std::string, std::string> GetExtraInfo() override { return info; }

 private:
    std::unordered_map<std::string, std::string> info;
};

// Returns whether a reply is the expected one.
using Check = std::function<bool(MessageBuffer& reply)>;

Check HasStatus(const Status& status) {
    return [status](MessageBuffer& reply) {
        const Status received = reply.ReadStatus();
        return received.code == status.code && received.message == status.message;
    };
}

// Returns nothing if the request ends the host: there is no room for the reply, no interpreter or no tensor.
std::optional<Check> CheckOfOutput(TensorImpl& tensor, uint32_t size) {
    if (size > kSection / 2) {
        return std::nullopt;
    }
    std::string data(size, '\0');
    const Status status = tensor.CopyTo(data.data(), size);
    return [data, status](MessageBuffer& reply) {
        const MessageBuffer::Bytes output = reply.ReadBytes();
        const bool same = output.size == data.size() && std::memcmp(output.data, data.data(), output.size) == 0;
        return HasStatus(status)(reply) && (same || !status.Ok());
    };
}

std::optional<Check> CheckOfTensor(Interpreter& local, uint32_t call, MessageBuffer& request) {
    const bool hasType = call == CallGetTensorInfo || call == CallSetTensorShape;
    const auto side = call == CallSetInputData ? TensorTypeInput : TensorTypeOutput;
    const auto type = hasType ? static_cast<TensorType>(request.ReadUInt32()) : side;
    const TensorHandle tensor = local.GetTensor(type, request.ReadUInt32());
    constexpr size_t kMostDimensions = kSection / 16;
    if (tensor == nullptr || tensor->GetShape().size() > kMostDimensions) {
        return std::nullopt;
    }
    switch (call) {
        case CallGetTensorInfo:
            return [name = tensor->GetName(), elementType = tensor->GetDataType(), format = tensor->GetFormat(),
                    shape = tensor->GetShape()](MessageBuffer& reply) {
                const TensorInfo info = ReadTensorInfo(reply);
                return info.name == name && info.dataType == elementType && info.format == format &&
                       info.shape == shape;
            };
        case CallSetInputData: {
            const MessageBuffer::Bytes data = request.ReadBytes();
            return HasStatus(tensor->CopyFrom(data.data, data.size));
        }
        case CallCopyOutputTo:
            return CheckOfOutput(*tensor, request.ReadUInt32());
        case CallGetTensorData:
            return CheckOfOutput(*tensor, static_cast<uint32_t>(tensor->GetByteSize()));
        default: {
            std::vector<int64_t> shape;
            for (uint32_t rank = request.ReadUInt32(); rank > 0; --rank) {
                shape.push_back(request.ReadUInt32());
            }
            shape.insert(shape.begin(), shape.size(), 0);
            return HasStatus(tensor->Resize(shape));
        }
    }
}

Status Initialise(std::unique_ptr<Interpreter>& local, const MessageBuffer::Bytes& flatForm) {
    const OptionHandle option = CreateOption();
    option->Deserialize(flatForm.data, flatForm.size);
    InterpreterParams params;
    const Status status = option->ToParams(params);
    params.host.clear();
    local = std::make_unique<Interpreter>();
    return status.Ok() ? local->Init(params) : status;
}

// Does what the request says with `local`. Returns a check of the reply.
std::optional<Check> CheckOf(MessageBuffer& request, std::unique_ptr<Interpreter>& local) {
    const uint32_t call = request.ReadUInt32();
    if (call == CallInit) {
        return HasStatus(Initialise(local, request.ReadBytes()));
    }
    if (call >= CallExit) {
        return [](MessageBuffer&) { return true; };
    }
    if (local == nullptr) {
        return std::nullopt;
    }
    switch (call) {
        case CallGetTensorCount: {
            const int32_t count = request.ReadUInt32() != 0 ? local->GetOutputCount() : local->GetInputCount();
            return [count](MessageBuffer& reply) { return reply.ReadUInt32() == static_cast<uint32_t>(count); };
        }
        case CallInvoke:
            return HasStatus(local->Invoke());
        case CallGetExtraInfo:
            return [info = local->GetExtraInfo()](MessageBuffer& reply) { return ReadExtraInfo(reply) == info; };
        default:
            return CheckOfTensor(*local, call, request);
    }
}

// A host, and the interpreter to compare it with. If a length exceeds the section, a real host crashes; here it throws,
// as for a value of another type. Both end the host.
class Session {
 public:
    Session() {
        host.channel.message.Attach(section.get(), kSection);
        host.channel.message.LimitReads(kSection);
    }

    // Returns false if the host has ended.
    bool Send(const std::string& request) {
        std::copy(request.begin(), request.end(), section.get());
        std::vector<uint8_t> sent(section.get(), section.get() + kSection + 1);
        MessageBuffer message;
        message.Attach(sent.data(), kSection);
        message.LimitReads(kSection);
        std::optional<Check> check;
        bool throws = false;
        try {
            check = CheckOf(message, local);
        } catch (const std::exception&) {
            throws = true;
        }
        if (!throws && !check) {
            return false;
        }
        try {
            Answer(host);
        } catch (const std::exception&) {
            Require(throws, "the host replies to a request that it can read");
            return false;
        }
        Require(!throws, "the host does not reply to a request that it cannot read");
        MessageBuffer& reply = host.channel.message;
        reply.Rewind();
        Require((*check)(reply), "the reply has the interpreter's result");
        const uint32_t end = kSection - reply.Room();
        Require(std::memcmp(section.get() + end, sent.data() + end, kSection - end) == 0,
                "the bytes after the reply are unchanged");
        return true;
    }

 private:
    // Has one more byte, because the reader of a flat form may read the byte after it.
    std::unique_ptr<uint8_t[]> section = std::make_unique<uint8_t[]>(kSection + 1);
    HostSession host;
    std::unique_ptr<Interpreter> local;
};

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t framework) {
    return framework == FrameworkTypeOpenvino ? std::make_unique<Model>() : nullptr;
}

std::unique_ptr<IOrvane> CreateRemoteBackend() {
    return nullptr;
}

// Does nothing: an input must not prevent this process from writing its findings.
void EnterSandbox(const InterpreterParams& /*params*/) {}

}  // namespace Orvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Orvane::Fuzz::Input input(data, size);
    Orvane::Session session;
    bool lives = true;
    while (lives && !input.IsAtEnd()) {
        lives = session.Send(input.TakeRun(input.TakeNumber(2) % Orvane::kLargestRequest));
    }
    return 0;
}
