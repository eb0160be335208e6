#include "core/tensor_proxy_impl.h"

#include "testing/fake_backend.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Orvane {
namespace {

TEST(Tensor, DescribesItselfAsItWasWhenItWasMade) {
    Testing::FakeBackend backend;
    backend.outputs = {{"first"}, {"分数", true, DataTypeFloat32, 7, {1, 3, 224, 224}}};
    TensorProxyImpl tensor(backend, 1, TensorTypeOutput);
    EXPECT_EQ(tensor.GetName(), "分数");
    EXPECT_EQ(tensor.GetTensorType(), TensorTypeOutput);
    EXPECT_EQ(tensor.GetDataType(), DataTypeFloat32);
    EXPECT_EQ(tensor.GetFormat(), 7U);
    EXPECT_TRUE(tensor.GetFlag());

    EXPECT_TRUE(tensor.Resize({5}).Ok());
    EXPECT_EQ(backend.calls.back(), "SetTensorShape 1 1 [5]");
    EXPECT_EQ(tensor.GetShape(), (std::vector<int64_t>{1, 3, 224, 224})) << "resizing leaves the description";
    EXPECT_EQ(tensor.GetByteSize(), 602'112U);
    EXPECT_EQ(TensorProxyImpl(backend, 1, TensorTypeOutput).GetByteSize(), 20U);
}

TEST(Tensor, ByteSizeFollowsTypeAndShape) {
    struct Case {
        uint32_t type;
        std::vector<int64_t> shape;
        uint64_t bytes;
    };
    const std::vector<Case> cases = {
        {0, {}, 0},
        {0, {7}, 0},
        {1, {}, 4},
        {2, {3}, 6},
        {3, {3}, 12},
        {4, {3}, 3},
        {5, {3}, 24},
        {6, {3}, 3},
        {7, {3}, 6},
        {8, {3}, 3},
        {9, {3}, 24},
        {10, {3}, 3},
        {0xFFFFFFFF, {2}, 2},
        {1, {4, 0, 9}, 0},
        {5, {-1, 2}, 0xFFFFFFFFFFFFFFF0},
        {1, {INT64_MAX, 2}, 0xFFFFFFFFFFFFFFF8},
    };
    for (const Case& c : cases) {
        Testing::FakeBackend backend;
        backend.inputs = {{"x", false, static_cast<DataType>(c.type), 1, c.shape}};
        EXPECT_EQ(TensorProxyImpl(backend, 0, TensorTypeInput).GetByteSize(), c.bytes) << c.type;
    }
}

TEST(Tensor, DataGoesOnlyTheWayOfItsSide) {
    Testing::FakeBackend backend;
    backend.inputs = {{"x"}, {"state"}};
    backend.outputs = {{"y"}};
    TensorProxyImpl input(backend, 1, TensorTypeInput);
    TensorProxyImpl output(backend, 0, TensorTypeOutput);
    TensorProxyImpl neither(backend, 0, static_cast<TensorType>(2));
    char data[4] = {};

    backend.calls.clear();
    for (TensorProxyImpl* wrong : {&output, &neither}) {
        const Status status = wrong->CopyFrom(data, 4);
        EXPECT_EQ(status.message, "Tensor Type is not TensorTypeInput!");
        EXPECT_EQ(status.code, -1);
    }
    for (TensorProxyImpl* wrong : {&input, &neither}) {
        EXPECT_EQ(wrong->CopyTo(data, 4).message, "Tensor Type is not TensorTypeOutput!");
    }
    EXPECT_TRUE(backend.calls.empty()) << "a refused copy does not reach the backend";

    backend.answer = {"backend's own", 42};
    const Status status = input.CopyFrom(data, 3);
    EXPECT_EQ(status.message, "backend's own");
    EXPECT_EQ(status.code, 42);
    EXPECT_EQ(output.CopyTo(data, 4).code, 42);
    EXPECT_EQ(output.GetData(), backend.data);
    EXPECT_EQ(backend.calls, (std::vector<std::string>{"SetInputData 1 3", "CopyOutputTo 0 4", "GetTensorData 1 0"}));
}

// A tensor of an application's own.
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

TEST(Tensor, BindingIsRefused) {
    Testing::FakeBackend backend;
    backend.inputs = {{"x"}};
    TensorProxyImpl input(backend, 0, TensorTypeInput);
    EXPECT_EQ(input.Bind(ForeignTensor()).message, "Tensor type is not equal!");
    const Status status = input.Bind(input);
    EXPECT_EQ(status.message, "不支持此操作");
    EXPECT_EQ(status.code, -1);
}

}  // namespace
}  // namespace Orvane
