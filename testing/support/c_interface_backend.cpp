#include "testing/support/c_interface_backend.h"

#include <orvane/orvane_c.h>

#include <gtest/gtest.h>

namespace Orvane::Testing {

namespace {

int32_t SideOf(TensorType type) {
    return type == TensorTypeInput ? ORVANE_INPUT : ORVANE_OUTPUT;
}

const char* TextOrNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

Status StatusOf(orvane_error* error) {
    if (error == nullptr) {
        return {};
    }
    const Status status{orvane_error_message(error), -1, FailureReasonRefused};
    EXPECT_NE(status.message, "");
    orvane_error_free(error);
    return status;
}

class CInterfaceBackend final : public IOrvane {
 public:
    CInterfaceBackend() = default;
    CInterfaceBackend(const CInterfaceBackend&) = delete;
    CInterfaceBackend& operator=(const CInterfaceBackend&) = delete;
    ~CInterfaceBackend() override { orvane_close(model); }

    Status Init(const InterpreterParams& params) override {
        Release();
        const std::string path = params.modelPath + params.modelName;
        orvane_options options{};
        options.struct_size = sizeof options;
        options.model_path = TextOrNull(path);
        options.device = TextOrNull(params.openvinoDevice);
        options.cache_path = TextOrNull(params.openvinoCachePath);
        options.make_cache = params.openvinoMakeCache ? 1 : 0;
        options.host_program = TextOrNull(params.host);
        if (params.openvinoMakeEncrypted) {
            options.key = params.openvinoMakeEncryptedKey.data();
            options.key_size = static_cast<uint32_t>(params.openvinoMakeEncryptedKey.size());
        }
        return StatusOf(orvane_open(&options, &model));
    }

    void Release() override {
        orvane_close(model);
        model = nullptr;
    }

    int32_t GetTensorCount(TensorType type) override {
        return static_cast<int32_t>(orvane_tensor_count(model, SideOf(type)));
    }

    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override {
        orvane_tensor tensor{};
        tensor.struct_size = sizeof tensor;
        EXPECT_TRUE(StatusOf(orvane_describe(model, SideOf(type), index, &tensor)).Ok());
        return {tensor.name, false, static_cast<DataType>(tensor.element_type), 1,
                std::vector<int64_t>(tensor.dimensions, tensor.dimensions + tensor.rank)};
    }

    Status SetInputData(uint32_t index, const void* data, uint32_t size) override {
        return StatusOf(orvane_set_input(model, index, data, size));
    }

    Status Invoke() override { return StatusOf(orvane_run(model)); }

    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override {
        return StatusOf(orvane_get_output(model, index, data, size));
    }

    void* GetTensorData(TensorType type, uint32_t index) override {
        const void* data = nullptr;
        uint64_t bytes = 0;
        return type == TensorTypeOutput && StatusOf(orvane_view_output(model, index, &data, &bytes)).Ok()
                   ? const_cast<void*>(data)
                   : nullptr;
    }

    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {}; }

    Status SetTensorShape(TensorType, uint32_t index, const std::vector<int64_t>& shape) override {
        return StatusOf(orvane_resize(model, index, shape.data(), static_cast<uint32_t>(shape.size())));
    }

 private:
    orvane_model* model = nullptr;
};

}  // namespace

std::unique_ptr<IOrvane> CreateCInterfaceBackend() {
    return std::make_unique<CInterfaceBackend>();
}

}  // namespace Orvane::Testing
