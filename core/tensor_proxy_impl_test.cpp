#include "core/tensor_proxy_impl.h"

#include "testing/support/fake_backend.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

class TensorTest : public testing::Test {
 protected:
    // The byte size of an input with this type and shape.
    uint64_t ByteSize(uint32_t type, const std::vector<int64_t>& shape) {
        backend.inputs = {{"x", false, static_cast<DataType>(type), 1, shape}};
        return TensorProxyImpl(backend, 0, TensorTypeInput).GetByteSize();
    }

    Testing::FakeBackend backend;
};

TEST_F(TensorTest, KeepsItsFirstDescription) {
    backend.outputs = {{"first"}, {"分数", true, DataTypeFloat32, 7, {1, 3, 224, 224}}};
    TensorProxyImpl tensor(backend, 1, TensorTypeOutput);
    EXPECT_TRUE(tensor.Resize({5}).Ok());
    EXPECT_EQ(TensorProxyImpl(backend, 1, TensorTypeOutput).GetByteSize(), 20U);
    EXPECT_EQ(tensor.GetTensorType(), TensorTypeOutput);
    EXPECT_EQ(tensor.GetFormat(), 7U);
    EXPECT_TRUE(tensor.GetFlag());
    EXPECT_EQ(tensor.GetShape(), (std::vector<int64_t>{1, 3, 224, 224}));
    EXPECT_EQ(tensor.GetByteSize(), 602'112U);
}

TEST_F(TensorTest, ComputesByteSizeFromTypeAndShape) {
    const uint64_t bytesOfThree[] = {0, 12, 6, 12, 3, 24, 3, 6, 3, 24, 3};  // the index is the type's number
    for (uint32_t type = 0; type < std::size(bytesOfThree); ++type) {
        EXPECT_EQ(ByteSize(type, {3}), bytesOfThree[type]) << type;
    }
    EXPECT_EQ(ByteSize(0xFFFFFFFF, {2}), 2U);
    EXPECT_EQ(ByteSize(1, {}), 4U);
    EXPECT_EQ(ByteSize(1, {4, 0, 9}), 0U);
    EXPECT_EQ(ByteSize(5, {-1, 2}), 0xFFFFFFFFFFFFFFF0) << "it wraps around";
    EXPECT_EQ(ByteSize(1, {INT64_MAX, 2}), 0xFFFFFFFFFFFFFFF8);
}

TEST_F(TensorTest, CopiesOnlyIntoInputsAndOutOfOutputs) {
    backend.outputs = {{"y"}};
    TensorProxyImpl input(backend, 1, TensorTypeInput);
    TensorProxyImpl output(backend, 0, TensorTypeOutput);
    TensorProxyImpl neither(backend, 0, static_cast<TensorType>(2));
    *backend.record = {{}, {"backend's own", 42}};
    char data[4] = {};
    EXPECT_EQ(output.CopyFrom(data, 4).message, "Tensor Type is not TensorTypeInput!");
    EXPECT_EQ(neither.CopyFrom(data, 4).message, "Tensor Type is not TensorTypeInput!");
    EXPECT_EQ(input.CopyTo(data, 4).message, "Tensor Type is not TensorTypeOutput!");
    EXPECT_EQ(neither.CopyTo(data, 4).message, "Tensor Type is not TensorTypeOutput!");
    EXPECT_EQ(input.Bind(input).message, "不支持此操作");
    std::shared_ptr<void> memory;
    EXPECT_EQ(output.GetMemory(4, memory).message, "Tensor Type is not TensorTypeInput!");
    EXPECT_EQ(input.GetMemory(4, memory).message, "不支持此操作");
    EXPECT_EQ(input.CopyFrom(data, 3).message, "backend's own");
    EXPECT_EQ(output.CopyTo(data, 4).code, 42);
    EXPECT_EQ(backend.record->calls, (std::vector<std::string>{"set 1 3", "copy 0 4"}))
        << "refused calls do not reach the backend";
    EXPECT_EQ(input.GetData(), &backend.inputs[1]);
}

// A tensor that an application implements.
class ForeignTensor final : public TensorImpl {
    std::string GetName() const override { return {}; }
    TensorType GetTensorType() const override { return TensorTypeInput; }
    DataType GetDataType() const override { return DataTypeUnknown; }
    uint32_t GetFormat() const override { return 0; }
    bool GetFlag() const override { return false; }
    std::vector<int64_t> GetShape() const override { return {}; }
    uint64_t GetByteSize() const override { return 0; }
    Status Resize(const std::vector<int64_t>&) override { return {}; }
    Status Bind(const TensorImpl&) override { return {}; }
    Status CopyFrom(const void*, uint32_t) override { return {}; }
    Status CopyTo(void*, uint32_t) override { return {}; }
    void* GetData() override { return nullptr; }
};

TEST_F(TensorTest, RefusesAForeignTensor) {
    ForeignTensor foreign;
    EXPECT_EQ(TensorProxyImpl(backend, 0, TensorTypeInput).Bind(foreign).message, "Tensor type is not equal!");
    std::shared_ptr<void> memory;
    EXPECT_EQ(foreign.GetMemory(4, memory).message, "不支持此操作");
}

}  // namespace
}  // namespace Orvane
