#include "sdk/c/model.h"

#include "backends/remote/remote_wrapper.h"
#include "platform/copy_data.h"
#include "sdk/c/load.h"

#include <algorithm>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

namespace Orvane::C {

namespace {

// More than any model has. A host that claims more does not describe a model.
constexpr int32_t kMostTensors = 65'536;
constexpr uint64_t kMostDescriptionBytes = 64'000'000;
constexpr size_t kMostNames = 10;

Failure BadReply(bool isLoaded) {
    return HostEndedFailure({HostEndCauseBadReply, 0, "it sent what cannot be a reply"}, isLoaded);
}

// The tensors of a side by index and name, for a message: `0 "x", 1 "y"`.
std::string Names(const std::vector<Port>& side) {
    std::string text;
    for (size_t i = 0; i < side.size() && i < kMostNames; ++i) {
        text.append(i != 0 ? ", " : "").append(std::to_string(i)).append(" \"").append(side[i].name).append("\"");
    }
    return side.empty() ? "none" : side.size() > kMostNames ? text + ", ..." : text;
}

}  // namespace

Model::Call::Call(Model& which, uint32_t milliseconds, bool hasProgress)
    : model(which), watch(milliseconds, hasProgress ? Progress : nullptr, &which) {
    if (model.isInCall) {
        throw BadArgument(
            "the model is used by the call that its progress function belongs to: in that function only interrupt it, "
            "or "
            "use other models");
    }
    model.isInCall = true;
    model.limit = milliseconds;
}

// Called while a call waits for a host, and at each step of a load.
int32_t Model::Progress(void* self, int32_t step) {
    const auto& model = *static_cast<const Model*>(self);
    return model.isInterrupted ||
                   (model.request.progress != nullptr && model.request.progress(model.request.progressUser, step) != 0)
               ? 1
               : 0;
}

template <typename Work>
std::invoke_result_t<Work> Model::Talk(Work work) {
    try {
        return work();
    } catch (...) {
        RethrowCaught();
    }
}

void Model::RethrowCaught() {
    try {
        throw;
    } catch (const Failure& failure) {
        if (failure.Reason() == ORVANE_HOST_ENDED && !end) {
            EndHost(failure);
        }
        throw;
    } catch (const CallTimedOut&) {
        EndHost(HostEndedFailure({HostEndCauseTimeLimit, limit, "time limit of " + std::to_string(limit) + " ms"},
                                 isLoaded));
    } catch (const CallGivenUp&) {
        GiveUp();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        if (!IsRemote()) {
            throw;
        }
        EndHost(BadReply(isLoaded));
    }
}

void Model::EndHost(const Failure& failure) {
    interpreter.Release();
    end = failure;
    throw Failure(failure);
}

void Model::GiveUp() {
    if (isInterrupted) {
        EndHost(HostEndedFailure({HostEndCauseInterrupted, 0, "interrupted"}, isLoaded));
    }
    if (!IsRemote()) {
        throw Failure(ORVANE_CANCELLED, "the progress function gave up loading the model");
    }
    interpreter.Release();
    end = Failure(ORVANE_HOST_ENDED,
                  "the host process was ended, because the progress function gave a call up; restart the model", 0,
                  ORVANE_HOST_END_INTERRUPTED);
    throw Failure(ORVANE_CANCELLED, isLoaded
                                        ? "the progress function gave the call up, and the host process was ended; "
                                          "restart the model"
                                        : "the progress function gave up loading the model");
}

Model::Model(LoadRequest loadRequest) : request(std::move(loadRequest)) {
    const Call call = Call::ForLoad(*this);
    ports = Talk([this] { return Load(interpreter); });
    isLoaded = true;
}

void Model::Check(const Status& status) {
    if (status.Ok()) {
        return;
    }
    if (status.reason == FailureReasonHostEnded) {
        end = HostEndedFailure(interpreter.GetHostEnd(), isLoaded);
        throw Failure(*end);
    }
    if (status.reason == FailureReasonHostStart) {
        throw Failure(ORVANE_SYSTEM,
                      "the host program " + request.params.host +
                          " cannot be started: " + std::system_category().message(status.code) +
                          "; pass the path of orvane_host (" + status.message + ")",
                      status.code);
    }
    throw FailureOf(status);
}

void Model::RequireHost() const {
    if (end) {
        throw Failure(*end);
    }
}

void Model::Restart() {
    if (IsRemote()) {
        interpreter.Release();
        for (std::vector<Port>* side : {&ports.inputs, &ports.outputs}) {
            for (Port& port : *side) {
                port.handle.reset();  // the description stays, also if the restart fails
            }
        }
        end.reset();
        isLoaded = false;
        try {
            ports = Talk([this] { return Load(interpreter); });
        } catch (const std::exception& error) {
            interpreter.Release();
            const int32_t cause = end ? end->HostEnd() : int32_t{ORVANE_HOST_END_UNKNOWN};
            end = Failure(ORVANE_HOST_ENDED,
                          std::string("the last restart failed, restart the model again: ") + error.what(), 0, cause);
            throw;
        }
    } else {
        Interpreter next;
        Ports described = Talk([&] { return Load(next); });
        ports = {};
        interpreter = std::move(next);
        ports = std::move(described);
    }
    end.reset();
    isLoaded = true;
    hasInput = false;
    hasRun = false;
}

// The first data makes the buffers of all inputs. Where that fails they are half made, and only a model that is loaded
// again has none.
void Model::ReloadUnlessPrepared() {
    if (hasInput || end) {
        return;
    }
    try {
        Restart();
    } catch (const std::exception& error) {
        if (!end) {
            end = Failure(ORVANE_RUNTIME, std::string("the model could not be loaded again after its first data was "
                                                      "refused; restart it: ") +
                                              error.what());
        }
    }
}

Model::Ports Model::Load(Interpreter& target) {
    isInterrupted = false;
    RequireFiles(request.params);
    Check(LoadModel(target, request));
    uint64_t budget = kMostDescriptionBytes;
    Ports described;
    described.inputs = Describe(target, TensorTypeInput, budget);
    described.outputs = Describe(target, TensorTypeOutput, budget);
    RequireLivingHost(target);  // with a dead one there seem to be no tensors
    return described;
}

// Throws if the host was found dead by an operation that has no status to say so.
void Model::RequireLivingHost(const Interpreter& asked) const {
    if (const HostEnd ended = asked.GetHostEnd(); ended.cause != HostEndCauseNone) {
        throw HostEndedFailure(ended, isLoaded);
    }
}

std::vector<Port> Model::Describe(Interpreter& target, TensorType side, uint64_t& budget) const {
    const int32_t count = side == TensorTypeInput ? target.GetInputCount() : target.GetOutputCount();
    if (IsRemote() && (count < 0 || count > kMostTensors)) {
        throw BadReply(isLoaded);
    }
    std::vector<Port> described;
    for (int32_t i = 0; i < count; ++i) {
        const auto index = static_cast<uint32_t>(i);
        TensorHandle handle = target.GetTensor(side, index);
        if (handle == nullptr) {
            break;  // the host has ended, or says now that it has no tensors
        }
        described.emplace_back(std::move(handle), side, index, IsRemote());
        const Port& port = described.back();
        const uint64_t size = sizeof port + 3 * port.name.size() + 16 * port.shape.size();
        if (IsRemote() && size > budget) {
            throw BadReply(isLoaded);
        }
        budget -= std::min(size, budget);
    }
    return described;
}

uint32_t Model::Count(int32_t side) const {
    return static_cast<uint32_t>(side == ORVANE_INPUT    ? ports.inputs.size()
                                 : side == ORVANE_OUTPUT ? ports.outputs.size()
                                                         : 0);
}

const Port& Model::PortAt(int32_t side, uint32_t index) const {
    if (side != ORVANE_INPUT && side != ORVANE_OUTPUT) {
        throw BadArgument("there is no side " + std::to_string(side) + ": 0 is the inputs and 1 the outputs");
    }
    const std::vector<Port>& all = side == ORVANE_INPUT ? ports.inputs : ports.outputs;
    if (index >= all.size()) {
        const std::string word = side == ORVANE_INPUT ? "input" : "output";
        throw BadArgument("there is no " + word + " " + std::to_string(index) + ": the model's " + word + "s are " +
                          Names(all));
    }
    return all[index];
}

void Model::Resize(uint32_t input, const int64_t* dimensions, uint32_t rank) {
    RequireHost();
    PortAt(ORVANE_INPUT, input);
    Port& port = ports.inputs[input];
    if (IsRemote()) {
        throw Refused(
            "a shape cannot be set in a host process: run the model in this process, or write it with a fixed shape "
            "first");
    }
    if (hasInput) {
        throw Refused("a shape is set before the first data: restart the model, then set shapes and inputs again");
    }
    if (dimensions == nullptr && rank != 0) {
        throw BadArgument("the dimensions for " + port.Label() + " are null: pass their address");
    }
    if (rank != port.modelShape.size()) {
        throw BadArgument(port.Label() + " has " + std::to_string(port.modelShape.size()) + " dimensions, not " +
                          std::to_string(rank) + ": pass each of them");
    }
    const std::vector<int64_t> shape(dimensions, dimensions + rank);
    for (size_t i = 0; i < shape.size(); ++i) {
        const int64_t own = port.modelShape[i];
        if (own == -1 ? shape[i] < 1 : shape[i] != own) {
            throw BadArgument("dimension " + std::to_string(i) + " of " + port.Label() + " cannot be " +
                              std::to_string(shape[i]) + ": pass " +
                              (own == -1 ? "at least 1" : std::to_string(own) + ", as in the model"));
        }
    }
    if (!port.CouldHave(shape)) {
        throw Refused(port.Label() + " would have 4 GiB or more, which cannot be copied: set a smaller shape");
    }
    Check(port.handle->Resize(shape));
    port.SetShape(shape);
}

// The first data makes buffers for all inputs, and so each must have a size.
void Model::RequireShapes() const {
    for (const Port& port : ports.inputs) {
        if (port.IsDynamic() || port.shape.empty()) {
            throw Refused(port.problem);
        }
    }
}

void Model::CheckInput(uint32_t index, const void* data, uint64_t bytes) const {
    const Port& port = PortAt(ORVANE_INPUT, index);
    if (port.bytes == 0) {
        throw Refused(port.problem);
    }
    if (bytes != port.bytes) {
        throw BadArgument(port.Label() + " has " + std::to_string(port.bytes) + " bytes, not " + std::to_string(bytes) +
                          ": pass all of them");
    }
    if (data == nullptr) {
        throw BadArgument("the data for " + port.Label() + " is null: pass its address");
    }
    if (!hasInput) {
        RequireShapes();
    }
}

void Model::CheckOutput(uint32_t index, const void* data, uint64_t bytes) const {
    const Port& port = PortAt(ORVANE_OUTPUT, index);
    const bool isSizedByRun = port.IsDynamic() && port.type != DataTypeUnknown && !IsRemote();
    if (port.bytes == 0 && !isSizedByRun) {
        throw Refused(port.problem);
    }
    if (port.bytes != 0 ? bytes != port.bytes : bytes == 0 || bytes > UINT32_MAX) {
        throw BadArgument(port.Label() +
                          (port.bytes != 0 ? " has " + std::to_string(port.bytes) + " bytes, not "
                                           : " has a size that each run decides, but not ") +
                          std::to_string(bytes) + ": pass memory for all of them");
    }
    if (data == nullptr) {
        throw BadArgument("the memory for " + port.Label() + " is null: pass its address");
    }
}

void Model::SetInput(uint32_t index, const void* data, uint64_t bytes) {
    RequireHost();
    CheckInput(index, data, bytes);
    try {
        Talk([&] { Check(ports.inputs[index].handle->CopyFrom(data, static_cast<uint32_t>(bytes))); });
    } catch (const Failure& failure) {
        if (failure.Reason() != ORVANE_SYSTEM) {  // the data did not reach the host
            ReloadUnlessPrepared();
        }
        throw;
    } catch (...) {
        ReloadUnlessPrepared();
        throw;
    }
    hasInput = true;
}

void Model::Run() {
    RequireHost();
    if (!hasInput) {
        throw Refused("no input was set: set the inputs before the run");
    }
    Talk([this] { Check(interpreter.Invoke()); });
    hasRun = true;
}

void Model::GetOutput(uint32_t index, void* data, uint64_t bytes) {
    RequireHost();
    CheckOutput(index, data, bytes);
    if (!hasRun) {
        throw Refused("the model has not run since it was loaded: run it first");
    }
    Port& port = ports.outputs[index];
    const auto size = static_cast<uint32_t>(bytes);
    Talk([&] {
        if (!IsRemote()) {
            Check(port.handle->CopyTo(data, size));
        } else if (const void* sent = port.handle->GetData(); sent != nullptr) {
            Platform::CopyData(data, sent, size);  // of the section, which is large enough, whatever the host claims
        } else {
            RequireLivingHost(interpreter);
            CopyWhatTheHostSends(port, data, size);
        }
    });
}

// `CopyTo` says why there is no output, but copies as much as the host claims: into memory for as much as it can claim.
void Model::CopyWhatTheHostSends(Port& port, void* data, uint32_t bytes) {
    std::vector<uint8_t> sent(RemoteWrapper::kChannelSize);
    Check(port.handle->CopyTo(sent.data(), bytes));
    Platform::CopyData(data, sent.data(), bytes);
}

const void* Model::ViewOutput(uint32_t index) {
    RequireHost();
    const Port& port = PortAt(ORVANE_OUTPUT, index);
    if (port.bytes == 0) {
        throw Refused(port.problem);
    }
    if (!hasRun) {
        throw Refused("the model has not run since it was loaded: run it first");
    }
    return Talk([&]() -> const void* {
        const void* data = port.handle->GetData();
        if (data == nullptr) {
            RequireLivingHost(interpreter);
            throw Failure(ORVANE_RUNTIME, port.Label() + " cannot be viewed in place: copy it, which also says why");
        }
        return data;
    });
}

void Model::Interrupt() {
    if (IsRemote()) {
        isInterrupted = true;
        static_cast<void>(interpreter.Interrupt());
    }
}

}  // namespace Orvane::C
