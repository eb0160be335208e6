#include "sdk/c/model.h"

#include <orvane/host.h>

#include "core/load_step.h"
#include "platform/copy_data.h"
#include "sdk/c/load.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace Orvane::C {

namespace {

// More than any model has; a host that claims more does not send what a model is.
constexpr int32_t kMostTensors = 65'536;
constexpr uint64_t kMostDescriptionBytes = 64'000'000;

Failure BadReply() {
    return {ORVANE_HOST_ENDED,
            "Orvane Host Exit (the host process was ended, because it answered with what cannot be a reply: give the "
            "host program that belongs to this library, and call orvane_restart)",
            0, ORVANE_HOST_END_BAD_REPLY};
}

}  // namespace

template <typename Work>
std::invoke_result_t<Work> Model::Talk(Work work) {
    try {
        return work();
    } catch (const Failure& failure) {
        if (failure.Reason() == ORVANE_HOST_ENDED && !end) {
            interpreter.Release();
            end = failure;
        }
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        if (!IsRemote()) {
            throw;
        }
        interpreter.Release();
        end = BadReply();
        throw Failure(*end);
    }
}

Model::Model(LoadRequest loadRequest) : request(std::move(loadRequest)) {
    ports = Talk([this] { return Load(interpreter); });
    isLoaded = true;
}

std::string Model::HowHostEnded() const {
    const std::string what = Explain(interpreter.GetHostEnd());
    return isLoaded ? " (the host process has ended: " + what + "; call orvane_restart)"
                    : " (the host process ended before the model was loaded: " + what +
                          "; host_program must be the host program, orvane_host, and the model one that it can load)";
}

void Model::Check(const Status& status) {
    if (status.Ok()) {
        return;
    }
    const Failure failure = FailureOf(status);
    if (failure.Reason() == ORVANE_HOST_ENDED) {
        end = Failure(ORVANE_HOST_ENDED, status.message + HowHostEnded(), 0, CauseOf(interpreter.GetHostEnd()));
        throw Failure(*end);
    }
    if (status.reason == FailureReasonHostStart) {
        throw Failure(ORVANE_SYSTEM,
                      failure.what() + (": " + request.params.host) +
                          " cannot be started; host_program must be the path of the host program, orvane_host",
                      failure.System());
    }
    throw Failure(failure);
}

void Model::RequireHost() const {
    if (end) {
        throw Failure(*end);
    }
}

void Model::Restart() {
    if (IsRemote()) {
        interpreter.Release();
        ports = {};
        end.reset();
        try {
            ports = Talk([this] { return Load(interpreter); });
        } catch (const std::exception& error) {
            const int32_t cause = end && end->HostEnd() != 0 ? end->HostEnd() : ORVANE_HOST_END_UNKNOWN;
            end = Failure(ORVANE_HOST_ENDED,
                          std::string("the last orvane_restart failed, call it again: ") + error.what(), 0, cause);
            throw;
        }
    } else {
        Interpreter next;
        Ports described = Load(next);
        ports = {};
        interpreter = std::move(next);
        ports = std::move(described);
    }
    end.reset();
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
                                                      "refused, call orvane_restart: ") +
                                              error.what());
        }
    }
}

Model::Ports Model::Load(Interpreter& target) {
    target.SetTimeLimit(request.timeLimit);
    const LoadStepScope loading;
    Check(LoadModel(target, request));
    uint64_t budget = kMostDescriptionBytes;
    Ports described;
    described.inputs = Describe(target, TensorTypeInput, budget);
    described.outputs = Describe(target, TensorTypeOutput, budget);
    if (IsRemote() && target.GetOutputCount() == 0) {
        // A host that has ended meanwhile has no tensors; only a status tells it from a model without any.
        const Status status = target.Invoke();
        if (status.reason == FailureReasonHostEnded) {
            Check(status);
        }
    }
    return described;
}

std::vector<Port> Model::Describe(Interpreter& target, TensorType side, uint64_t& budget) const {
    const int32_t count = side == TensorTypeInput ? target.GetInputCount() : target.GetOutputCount();
    if (IsRemote() && (count < 0 || count > kMostTensors)) {
        throw BadReply();
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
            throw BadReply();
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
        throw BadArgument("there is no side " + std::to_string(side) + ": give ORVANE_INPUT or ORVANE_OUTPUT");
    }
    const std::vector<Port>& all = side == ORVANE_INPUT ? ports.inputs : ports.outputs;
    if (index >= all.size()) {
        throw BadArgument("there is no " + std::string(side == ORVANE_INPUT ? "input " : "output ") +
                          std::to_string(index) + ": the model has " + std::to_string(all.size()));
    }
    return all[index];
}

void Model::Resize(uint32_t input, const int64_t* dimensions, uint32_t rank) {
    RequireHost();
    PortAt(ORVANE_INPUT, input);
    Port& port = ports.inputs[input];
    if (IsRemote()) {
        throw Refused(
            "a shape cannot be set in a host process: run the model without host_program, or export it with fixed "
            "dimensions");
    }
    if (hasInput) {
        throw Refused("shapes are set before the first data: call orvane_restart, then set shapes and inputs again");
    }
    if (rank != port.modelShape.size() || (dimensions == nullptr && rank != 0)) {
        throw BadArgument(port.Label() + " has " + std::to_string(port.modelShape.size()) + " dimensions, not " +
                          (rank != port.modelShape.size() ? std::to_string(rank) : "null") + ": give each of them");
    }
    const std::vector<int64_t> shape(dimensions, dimensions + rank);
    for (size_t i = 0; i < shape.size(); ++i) {
        const int64_t own = port.modelShape[i];
        if (own == -1 ? shape[i] < 1 : shape[i] != own) {
            throw BadArgument(port.Label() + ": dimension " + std::to_string(i) + " cannot be " +
                              std::to_string(shape[i]) + "; give " +
                              (own == -1 ? "at least 1" : std::to_string(own) + ", the model's own"));
        }
    }
    if (!port.CouldHave(shape)) {
        throw Refused(port.Label() + " would take 4 GiB or more, which cannot be copied: give a smaller shape");
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
                          ": give all of them");
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
    const bool isOwnAffair = port.IsDynamic() && port.type != DataTypeUnknown && !IsRemote();
    if (port.bytes == 0 && !isOwnAffair) {
        throw Refused(port.problem);
    }
    if (port.bytes != 0 ? bytes != port.bytes : bytes == 0 || bytes > UINT32_MAX) {
        throw BadArgument(port.Label() +
                          (port.bytes != 0 ? " has " + std::to_string(port.bytes) + " bytes, not "
                                           : " has a size of its own at each run, but not ") +
                          std::to_string(bytes) + ": give room for all of them");
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
        throw Refused("no input was set: call orvane_set_input first");
    }
    Talk([this] { Check(interpreter.Invoke()); });
    hasRun = true;
}

void Model::GetOutput(uint32_t index, void* data, uint64_t bytes) {
    RequireHost();
    CheckOutput(index, data, bytes);
    if (!hasRun) {
        throw Refused("the model has not run yet: call orvane_run first");
    }
    Port& port = ports.outputs[index];
    const auto size = static_cast<uint32_t>(bytes);
    Talk([&] {
        if (!IsRemote()) {
            Check(port.handle->CopyTo(data, size));
        } else if (const void* sent = port.handle->GetData(); sent != nullptr) {
            Platform::CopyData(data, sent,
                               size);  // of the section, which is large enough, and not what the host says it sent
        } else {
            CopyWhatTheHostSends(port, data, size);
        }
    });
}

// `CopyTo` says why there is no output, but copies as much as the host claims: into memory for as much as it can claim.
void Model::CopyWhatTheHostSends(Port& port, void* data, uint32_t bytes) {
    constexpr size_t kChannelBytes = kMaxHostTensorBytes + 1'024;
    std::vector<uint8_t> sent(kChannelBytes);
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
        throw Refused("the model has not run yet: call orvane_run first");
    }
    return Talk([&]() -> const void* {
        const void* data = port.handle->GetData();
        if (data == nullptr) {
            std::vector<uint8_t> unused(port.bytes);
            GetOutput(index, unused.data(), port.bytes);  // says why
            throw Failure(ORVANE_RUNTIME, port.Label() + " is not there: call orvane_get_output");
        }
        return data;
    });
}

void Model::Interrupt() {
    if (IsRemote()) {
        static_cast<void>(interpreter.Interrupt());
    }
}

}  // namespace Orvane::C
