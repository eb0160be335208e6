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

// Runs a model in this process. The runtime's exceptions become failed statuses with their text, but `std::bad_alloc`
// passes through. Use it from one thread at a time.
class OpenvinoWrapper final : public IOrvane {
 public:
    // Reads the model, plain or encrypted, and compiles it. If the cache file exists, imports the model from it
    // instead, and ignores the model files. Writes the cache file if `params` ask for it.
    Status Init(const InterpreterParams& params) override;

    // Does nothing: the destructor frees everything.
    void Release() override {}

    int32_t GetTensorCount(TensorType type) override;
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override;

    // On the first call this also creates the inference request and its zero-filled, 64-byte-aligned input buffers.
    Status SetInputData(uint32_t index, const void* data, uint32_t size) override;

    // Fails before the first `SetInputData`.
    Status Invoke() override;

    // `size` must be the output's exact byte size.
    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override;

    // The pointer is valid as long as the inference request holds the output.
    void* GetTensorData(TensorType type, uint32_t index) override;

    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {}; }
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override;

    // Returns the input's buffer. Creates the buffers like `SetInputData`.
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

    // The runtime uses these bytes in place. They are declared before its objects, so that they outlive them.
    std::vector<std::shared_ptr<AlignedBuffer>> inputBuffers;
    AlignedBuffer weightsBuffer = AlignedBuffer::ForOverwrite(0);

    std::optional<ov::Core> core;  // created by `Init`, so that a broken runtime is a failed status
    ov::CompiledModel compiledModel;
    ov::InferRequest inferRequest;  // empty until the first `SetInputData`

    std::vector<TensorInfo> inputInfos;
    std::vector<TensorInfo> outputInfos;
};

}  // namespace Orvane
