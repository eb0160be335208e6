#pragma once

#include "backends/openvino/aligned_buffer.h"
#include "core/i_orvane.h"

#include <openvino/openvino.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

// Runs a model in this process. The runtime's exceptions become statuses with their text; a failed allocation
// passes. No lock: used from one thread at a time.
class OpenvinoWrapper final : public IOrvane {
 public:
    // Reads the model, plain or encrypted, and compiles it; or imports it from the cache file when there is one,
    // without looking at the model files. Writes the cache file when asked to.
    Status Init(const InterpreterParams& params) override;

    // Nothing: everything goes with the wrapper.
    void Release() override {}

    int32_t GetTensorCount(TensorType type) override;
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override;

    // On the first call this also creates the inference request and its zero-filled, 64-byte-aligned input buffers.
    Status SetInputData(uint32_t index, const void* data, uint32_t size) override;

    // Fails before the first `SetInputData`.
    Status Invoke() override;

    // `size` must be the output's exact byte size.
    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override;

    // The pointer stays valid while the request holds the output.
    void* GetTensorData(TensorType type, uint32_t index) override;

    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {}; }
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override;

    // The input's own buffer. Creates the buffers as `SetInputData` does.
    Status GetInputMemory(uint32_t index, uint32_t size, std::shared_ptr<void>& memory) override;

 private:
    bool HasDevice(const std::string& device);
    ov::CompiledModel Compile(const InterpreterParams& params, const std::string& device);
    std::shared_ptr<ov::Model> ReadModel(const InterpreterParams& params);
    std::shared_ptr<ov::Model> ReadEncryptedModel(const InterpreterParams& params, const std::string& modelFile);
    void WriteCache(const std::filesystem::path& path);
    Status PrepareRequest();
    Status FindBuffer(uint32_t index, uint32_t size, std::shared_ptr<AlignedBuffer>& buffer);
    std::vector<TensorInfo>& Infos(TensorType type) { return type == TensorTypeInput ? inputInfos : outputInfos; }

    // The runtime works on these bytes in place, so they are declared, and live, before its objects.
    std::vector<std::shared_ptr<AlignedBuffer>> inputBuffers;
    AlignedBuffer weightsBuffer = AlignedBuffer::ForOverwrite(0);

    std::optional<ov::Core> core;  // made by `Init`, so that a broken runtime is a failed status as well
    ov::CompiledModel compiledModel;
    ov::InferRequest inferRequest;  // empty until the first `SetInputData`

    std::vector<TensorInfo> inputInfos;
    std::vector<TensorInfo> outputInfos;
};

}  // namespace Orvane
