#include "sdk/c/model.h"

#include "core/host_control.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace Orvane::C {

namespace {

// No model has this many tensors. If a host process claims more, its reply is invalid.
constexpr int32_t kMostTensors = 65'536;
constexpr uint64_t kMostDescriptionBytes = 64'000'000;
constexpr size_t kMostNames = 10;

Failure BadReply(bool isLoaded) {
    return HostEndedFailure(EndedByClient(HostEndCauseBadReply), isLoaded);
}

// Returns the index and name of each tensor, for a message: `0 "x", 1 "y"`.
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
    if (model.inCall && !model.inCall->IsThisProcess() && model.IsRemote()) {
        // A thread of the parent may have changed a part of the model. A restart loads it again.
        model.end = HostEndedFailure(model.interpreter.GetHostEnd(), true);
    } else if (model.inCall) {
        throw BadArgument(
            "a progress function can only interrupt or describe its own model: use the model after the call");
    }
    model.inCall.emplace();
    model.limit = milliseconds;
}

// The progress function of each `CallWatch`. `self` is the model.
int32_t Model::Progress(void* self, int32_t step) {
    const auto& model = *static_cast<const Model*>(self);
    return model.isInterrupted ||
                   (model.request.progress != nullptr && model.request.progress(model.request.progressUser, step) != 0)
               ? 1
               : 0;
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
        EndHost(HostEndedFailure(EndedByClient(HostEndCauseTimeLimit, limit), isLoaded));
    } catch (const CallCancelled&) {
        Cancel();
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

void Model::Cancel() {
    if (isInterrupted) {
        EndHost(HostEndedFailure(EndedByClient(HostEndCauseInterrupted), isLoaded));
    }
    if (!IsRemote()) {
        throw Failure(ORVANE_CANCELLED, "the progress function cancelled the load of the model");
    }
    interpreter.Release();
    end = Failure(ORVANE_HOST_ENDED,
                  "the host process was ended, because the progress function cancelled a call; restart the model", 0,
                  ORVANE_HOST_END_INTERRUPTED);
    throw Failure(ORVANE_CANCELLED,
                  isLoaded ? "the progress function cancelled the call, which ended the host process; restart the model"
                           : "the progress function cancelled the load of the model");
}

Model::Model(LoadRequest loadRequest) : request(std::move(loadRequest)) {
    const Call call = Call::ForLoad(*this);
    ports = UseInterpreter([this] { return Load(interpreter); });
    isLoaded = true;
    MakePathsAbsolute(request.params);  // after the load, so that its errors name the paths as the caller wrote them
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
        throw HostStartFailure(request.params.host, status);
    }
    throw FailureOf(status, request.params.openvinoDevice);
}

void Model::RequireHost() const {
    if (end) {
        throw Failure(*end);
    }
}

void Model::Restart() {
    ports = LoadAgain();
    isPrepared = false;
    hasInput = false;
    hasRun = false;
}

// Loads the model into `interpreter` again and returns its tensors. `ports` keeps its descriptions, without handles.
// If it fails, a model in this process is as before, and a model with a host process has no host process.
Model::Ports Model::LoadAgain() {
    const auto dropHandles = [this] {
        for (std::vector<Port>* side : {&ports.inputs, &ports.outputs}) {
            for (Port& port : *side) {
                port.handle.reset();
            }
        }
    };
    inputMemory.Invalidate();
    Ports loaded;
    if (IsRemote()) {
        interpreter.Release();
        dropHandles();
        end.reset();
        isLoaded = false;
        try {
            loaded = UseInterpreter([this] { return Load(interpreter); });
        } catch (const std::exception& error) {
            interpreter.Release();
            const int32_t cause = end ? end->HostEnd() : int32_t{ORVANE_HOST_END_UNKNOWN};
            end = Failure(ORVANE_HOST_ENDED,
                          std::string("the last restart failed, restart the model again: ") + error.what(), 0, cause);
            throw;
        }
    } else {
        Interpreter next;
        loaded = UseInterpreter([&] { return Load(next); });
        dropHandles();
        interpreter = std::move(next);
    }
    end.reset();
    isLoaded = true;
    return loaded;
}

Model::Ports Model::Load(Interpreter& target) {
    isInterrupted = false;
    RequireFiles(request.params);
    Check(LoadModel(target, request));
    uint64_t budget = kMostDescriptionBytes;
    Ports described;
    described.inputs = Describe(target, TensorTypeInput, budget);
    described.outputs = Describe(target, TensorTypeOutput, budget);
    RequireLivingHost(target);  // a model without tensors looks the same as an ended host process
    return described;
}

// Throws if the host process ended during an operation without a status.
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
            break;  // the host process has ended, or now claims that it has no tensors
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
        throw BadArgument("there is no side " + std::to_string(side) + ": pass 0 for the inputs or 1 for the outputs");
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
    if (isPrepared) {
        throw Refused("a shape must be set before the first data: restart the model, then set shapes and inputs again");
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

void Model::Interrupt() {
    if (IsRemote()) {
        isInterrupted = true;
        static_cast<void>(interpreter.Interrupt());
    }
}

}  // namespace Orvane::C
