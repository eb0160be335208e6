// The functions of `Model` that copy data.
#include "sdk/c/model.h"

#include "backends/remote/remote_wrapper.h"
#include "platform/copy_data.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

namespace Orvane::C {

// The first data creates the buffers of all inputs. If that fails, some of them exist, and only a new load removes
// them. The model is then as before: applications may still use the descriptions, and inputs keep their shapes.
void Model::ReloadUnlessPrepared() {
    if (isPrepared || end) {
        return;
    }
    try {
        TakeHandles(LoadAgain());
    } catch (const std::exception& error) {
        if (!end) {
            end = Failure(ORVANE_RUNTIME, std::string("the model could not be loaded again after its first data was "
                                                      "refused; restart it: ") +
                                              error.what());
        }
    }
}

void Model::TakeHandles(Ports loaded) {
    const auto isSame = [](const Port& one, const Port& other) {
        return one.name == other.name && one.type == other.type && one.modelShape == other.modelShape;
    };
    for (const auto side : {&Ports::inputs, &Ports::outputs}) {
        std::vector<Port>& own = ports.*side;
        std::vector<Port>& other = loaded.*side;
        if (!std::equal(own.begin(), own.end(), other.begin(), other.end(), isSame)) {
            throw Refused("the model file has changed");
        }
        for (size_t i = 0; i < own.size(); ++i) {
            own[i].handle = std::move(other[i].handle);
        }
    }
    for (const Port& input : ports.inputs) {
        if (input.shape != input.modelShape) {
            Check(input.handle->Resize(input.shape));
        }
    }
}

// Throws if data cannot be set for this input. The first data creates the buffers of all inputs, so all need a size.
const Port& Model::RequireInput(uint32_t index) const {
    const Port& port = PortAt(ORVANE_INPUT, index);
    if (port.bytes == 0) {
        throw Refused(port.problem);
    }
    for (const Port& input : ports.inputs) {
        if (!isPrepared && (input.IsDynamic() || input.shape.empty())) {
            throw Refused(input.problem);
        }
    }
    return port;
}

void Model::CheckInput(uint32_t index, const void* data, uint64_t bytes) const {
    const Port& port = RequireInput(index);
    if (bytes != port.bytes) {
        throw BadArgument(port.Label() + " has " + std::to_string(port.bytes) + " bytes, not " + std::to_string(bytes) +
                          ": pass all of them");
    }
    if (data == nullptr) {
        throw BadArgument("the data for " + port.Label() + " is null: pass its address");
    }
    inputMemory.CheckSource(port, data);
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
                                           : " has dynamic dimensions, and its size cannot be ") +
                          std::to_string(bytes) + ": pass memory for all of them");
    }
    if (data == nullptr) {
        throw BadArgument("the memory for " + port.Label() + " is null: pass its address");
    }
    inputMemory.CheckTarget(port, data, bytes);
}

// Runs work that may create the buffers of all inputs.
template <typename Work>
void Model::Prepare(Work work) {
    try {
        UseInterpreter([&] { Check(work()); });
    } catch (const Failure& failure) {
        if (failure.Reason() != ORVANE_SYSTEM) {  // ORVANE_SYSTEM: the data did not reach the host process
            ReloadUnlessPrepared();
        }
        throw;
    } catch (...) {
        ReloadUnlessPrepared();
        throw;
    }
}

void Model::SetInput(uint32_t index, const void* data, uint64_t bytes) {
    RequireHost();
    CheckInput(index, data, bytes);
    Prepare([&] { return ports.inputs[index].handle->CopyFrom(data, static_cast<uint32_t>(bytes)); });
    isPrepared = true;
    hasInput = true;
}

void* Model::LendInput(uint32_t index) {
    RequireHost();
    const Port& port = RequireInput(index);
    std::shared_ptr<void> memory;
    Prepare([&] { return port.handle->GetMemory(static_cast<uint32_t>(port.bytes), memory); });
    isPrepared = isPrepared || !IsRemote();  // a host process creates them with the first data
    return inputMemory.Lend(port, std::move(memory));
}

void Model::Run() {
    RequireHost();
    if (!hasInput) {
        throw Refused("no input was set: set the inputs before the run");
    }
    UseInterpreter([this] { Check(interpreter.Invoke()); });
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
    UseInterpreter([&] {
        if (!IsRemote()) {
            Check(port.handle->CopyTo(data, size));
        } else if (const void* sent = port.handle->GetData(); sent != nullptr) {
            Platform::CopyData(data, sent, size);  // the section has so many bytes, whatever the host process claims
        } else {
            RequireLivingHost(interpreter);
            CopyAnySize(port, data, size);
        }
    });
}

// `CopyTo` returns why there is no output, but copies as many bytes as the host process claims. So its memory has the
// size of the largest possible claim.
void Model::CopyAnySize(Port& port, void* data, uint32_t bytes) {
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
    return UseInterpreter([&]() -> const void* {
        const void* data = port.handle->GetData();
        if (data == nullptr) {
            RequireLivingHost(interpreter);
            throw Failure(ORVANE_RUNTIME, port.Label() + " cannot be viewed in place: copy it, and the copy says why");
        }
        return data;
    });
}

}  // namespace Orvane::C
