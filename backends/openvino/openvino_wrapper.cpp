#include "backends/openvino/openvino_wrapper.h"

#include <orvane/log.h>
#include <orvane/model_file_cipher.h>

#include "backends/openvino/decode_input_stream_buf.h"
#include "backends/openvino/decode_output_stream_buf.h"
#include "backends/openvino/describe_ports.h"
#include "backends/openvino/encrypted_model_file.h"
#include "backends/openvino/openvino_backend.h"
#include "core/call_watch.h"
#include "core/errors.h"
#include "platform/copy_data.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/signal_stack.h"

#include <algorithm>
#include <cassert>
#include <exception>
#include <istream>
#include <new>
#include <ostream>
#include <string_view>

namespace Orvane {

namespace {

Status RuntimeFailure(const ov::Exception& error) {
    return MakeErrorStatus(error.what(), kErrorCode, FailureReasonRuntime);
}

// Throws `std::bad_alloc` if the size overflows, for instance because of a dynamic dimension (-1). A size that wraps
// around could be small, and the runtime would write beyond the buffer.
uint64_t ByteSize(uint64_t elementSize, const ov::Shape& shape) {
    uint64_t size = elementSize;
    for (const uint64_t dimension : shape) {
        if (dimension != 0 && size > UINT64_MAX / dimension) {
            throw std::bad_alloc();
        }
        size *= dimension;
    }
    return size;
}

}  // namespace

std::unique_ptr<IOrvane> CreateOpenvinoBackend() {
    return std::make_unique<OpenvinoWrapper>();
}

Status OpenvinoWrapper::Init(const InterpreterParams& params) {
    const Platform::SignalStackGuard signalStack;
    try {
        // Frees the earlier model first: this load may replace the weights that it uses.
        inferRequest = {};
        compiledModel = {};
        if (!core.has_value()) {
            core.emplace("");
        }

        const std::string device = params.openvinoDevice.empty() ? "CPU" : params.openvinoDevice;
        if (!HasDevice(device)) {
            return MakeErrorStatus(kWrongDevice);
        }
        const std::filesystem::path cachePath = Platform::PathFromUtf8(params.openvinoCachePath);
        if (!cachePath.empty() && !Platform::IsMissing(cachePath)) {
            // If the cache file exists but cannot be imported, the load fails. It does not fall back to the model
            // files.
            CallWatch::BeginStep(LoadStep::Importing);
            DecodeInputStreamBuf buffer(cachePath);
            std::istream stream(&buffer);
            compiledModel = core->import_model(stream, device, ov::AnyMap{});
        } else {
            if (params.modelPath.empty()) {
                return MakeErrorStatus(kWrongModel);
            }
            compiledModel = Compile(params, device);
            if (params.openvinoMakeCache && !cachePath.empty()) {
                CallWatch::BeginStep(LoadStep::Writing);
                WriteCache(cachePath);
            }
        }
        inputInfos = DescribePorts(compiledModel.inputs());
        outputInfos = DescribePorts(compiledModel.outputs());
        return MakeSuccessStatus();
    } catch (const ov::Exception& error) {
        return RuntimeFailure(error);
    }
}

int32_t OpenvinoWrapper::GetTensorCount(TensorType type) {
    const auto count = type == TensorTypeInput ? compiledModel.inputs().size() : compiledModel.outputs().size();
    return static_cast<int32_t>(count);
}

TensorInfo OpenvinoWrapper::GetTensorInfo(TensorType type, uint32_t index) {
    assert(index < Infos(type).size());  // deliberately no error: callers must pass an existing index
    return Infos(type)[index];
}

Status OpenvinoWrapper::SetInputData(uint32_t index, const void* data, uint32_t size) {
    std::shared_ptr<AlignedBuffer> buffer;
    Status status = FindBuffer(index, size, buffer);
    if (status.Ok() && data != buffer->Data()) {
        Platform::CopyData(buffer->Data(), data, size);
    }
    return status;
}

Status OpenvinoWrapper::GetInputMemory(uint32_t index, uint32_t size, std::shared_ptr<void>& memory) {
    std::shared_ptr<AlignedBuffer> buffer;
    Status status = FindBuffer(index, size, buffer);
    if (status.Ok()) {
        memory = std::shared_ptr<void>(buffer, buffer->Data());
    }
    return status;
}

// Fails unless input `index` has room for `size` bytes.
Status OpenvinoWrapper::FindBuffer(uint32_t index, uint32_t size, std::shared_ptr<AlignedBuffer>& buffer) {
    if (!inferRequest) {
        if (Status status = PrepareRequest(); !status.Ok()) {
            return status;
        }
    }
    if (index >= inputBuffers.size()) {
        return MakeErrorStatus(kWrongTensor);
    }
    if (size > inputBuffers[index]->Size()) {
        return MakeErrorStatus(kWrongDataSize);
    }
    buffer = inputBuffers[index];
    return MakeSuccessStatus();
}

Status OpenvinoWrapper::Invoke() {
    if (!inferRequest) {
        return MakeErrorStatus("Must call CopyTo");
    }
    try {
        inferRequest.infer();
        return MakeSuccessStatus();
    } catch (const ov::Exception& error) {
        return RuntimeFailure(error);
    }
}

Status OpenvinoWrapper::CopyOutputTo(uint32_t index, void* data, uint32_t size) {
    try {
        const ov::Tensor output = inferRequest.get_output_tensor(index);
        if (output.get_byte_size() != size) {
            return MakeErrorStatus(kWrongDataSize);
        }
        Platform::CopyData(data, output.data(), size);
        return MakeSuccessStatus();
    } catch (const ov::Exception& error) {
        return RuntimeFailure(error);
    }
}

void* OpenvinoWrapper::GetTensorData(TensorType type, uint32_t index) {
    if (type == TensorTypeInput) {
        return nullptr;
    }
    try {
        return inferRequest.get_output_tensor(index).data();
    } catch (const ov::Exception& error) {
        Log(kLogLevelError, "[ORVANE]:get_output_tensor error:%s", error.what());
        return nullptr;
    }
}

Status OpenvinoWrapper::SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) {
    if (index >= Infos(type).size()) {
        return MakeErrorStatus("Error tensorIndex");
    }
    Infos(type)[index].shape = shape;
    return MakeSuccessStatus();
}

bool OpenvinoWrapper::HasDevice(const std::string& device) {
    std::exception_ptr notLoaded;
    // Listing the devices loads every plugin. So this asks for the CPU, the most common device, by name.
    if (device == "CPU") {
        try {
            if (!core->get_property(device, ov::available_devices).empty()) {
                return true;
            }
        } catch (const ov::Exception& error) {
            const bool isKnown = std::string_view(error.what()).find("not registered") == std::string_view::npos;
            notLoaded = isKnown ? std::current_exception() : nullptr;
        }
    }
    // A part of a name is enough, so that "GPU" finds "GPU.0".
    const std::vector<std::string> names = core->get_available_devices();
    const bool isListed = std::any_of(names.begin(), names.end(), [&device](const std::string& name) {
        return name.find(device) != std::string::npos;
    });
    if (!isListed && notLoaded) {
        std::rethrow_exception(notLoaded);  // the list omits a plugin that lacks memory or threads
    }
    return isListed;
}

// Frees the model that it read, so that its memory is free while the cache is written.
ov::CompiledModel OpenvinoWrapper::Compile(const InterpreterParams& params, const std::string& device) {
    CallWatch::BeginStep(LoadStep::Reading);
    const std::shared_ptr<ov::Model> model = ReadModel(params);
    CallWatch::BeginStep(LoadStep::Compiling);
    return core->compile_model(model, device, ov::AnyMap{});
}

std::shared_ptr<ov::Model> OpenvinoWrapper::ReadModel(const InterpreterParams& params) {
    const std::string modelFile = params.modelPath + params.modelName;
    if (params.openvinoMakeEncrypted) {
        return ReadEncryptedModel(params, modelFile);
    }
    return core->read_model(Platform::PathFromUtf8(modelFile), std::filesystem::path());
}

std::shared_ptr<ov::Model> OpenvinoWrapper::ReadEncryptedModel(const InterpreterParams& params,
                                                               const std::string& modelFile) {
    const ModelFileCipher cipher{.key = params.openvinoMakeEncryptedKey};
    const std::string description = ReadEncryptedDescription(modelFile, cipher);
    weightsBuffer = ReadEncryptedWeights(Platform::WeightsFileOf(modelFile), cipher);
    const ov::Tensor weights(ov::element::u8, ov::Shape{weightsBuffer.Size()}, weightsBuffer.Data());
    return core->read_model(description, weights);
}

void OpenvinoWrapper::WriteCache(const std::filesystem::path& path) {
    try {
        DecodeOutputStreamBuf buffer(path);
        std::ostream stream(&buffer);
        compiledModel.export_model(stream);
        stream.flush();
    } catch (const ov::Exception&) {
        // The model runs without its cache. The next load compiles it again, or reports the fault of the file.
    }
}

Status OpenvinoWrapper::PrepareRequest() {
    try {
        inferRequest = compiledModel.create_infer_request();
        inputBuffers.clear();
        inputBuffers.reserve(inputInfos.size());
        const std::vector<ov::Output<const ov::Node>>& ports = compiledModel.inputs();
        for (size_t i = 0; i < inputInfos.size(); ++i) {
            if (inputInfos[i].shape.empty()) {
                return MakeErrorStatus("Tensor is Dynamic Shapes");
            }
            const ov::element::Type type = ports[i].get_element_type();
            const ov::Shape shape(inputInfos[i].shape.begin(), inputInfos[i].shape.end());
            inputBuffers.push_back(
                std::make_shared<AlignedBuffer>(AlignedBuffer::ZeroFilled(ByteSize(type.size(), shape))));
            inferRequest.set_input_tensor(i, ov::Tensor(type, shape, inputBuffers.back()->Data()));
        }
        return MakeSuccessStatus();
    } catch (const ov::Exception& error) {
        return RuntimeFailure(error);
    }
}

}  // namespace Orvane
