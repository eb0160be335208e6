// Tests what only the local backend does. The conformance suite tests what all backends do.

#include "backends/openvino/openvino_wrapper.h"

#include "platform/path.h"
#include "testing/support/captured_log.h"
#include "testing/support/processes.h"
#include "testing/support/temporary_folder.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

namespace Orvane {
namespace {

using Testing::AddModel;
using Testing::EchoModel;

class OpenvinoWrapperTest : public testing::Test {
 protected:
    void Load(const Testing::TinyModel& model) {
        InterpreterParams params;
        // A new file for each model: Windows refuses to write to a file that the runtime has mapped.
        params.modelPath = model.WriteTo(folder, "模型" + std::to_string(folder.Names().size()));
        ASSERT_EQ(wrapper.Init(params).message, "");
    }

    std::string Set(uint32_t index, uint32_t size) {
        const float value = 4;
        return wrapper.SetInputData(index, &value, size).message;
    }

    Testing::TemporaryFolder folder;
    Testing::CapturedLog log;
    OpenvinoWrapper wrapper;
};

TEST_F(OpenvinoWrapperTest, ReportsErrorsOfTheRuntime) {
    Load(EchoModel({{"", "f32", {"1"}}}));
    auto lines = log.Take();
    ASSERT_EQ(lines.size(), 2U) << "one for the input without a name, one for the output";
    EXPECT_EQ(lines[1].second.rfind("[ORVANE]:port.get_any_name() error:", 0), 0U);

    EXPECT_EQ(wrapper.GetTensorData(TensorTypeOutput, 0), nullptr);
    lines = log.Take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].second.rfind("[ORVANE]:get_output_tensor error:", 0), 0U);

    EXPECT_EQ(Set(1, 4), "Tensor 参数错误");
    ASSERT_TRUE(wrapper.Invoke().Ok());
    float none = 0;
    EXPECT_NE(wrapper.CopyOutputTo(1, &none, 4).message, "");
}

TEST_F(OpenvinoWrapperTest, RefusesShapesThatItCannotPrepare) {
    Load(EchoModel({{"a", "f32", {"?", "?"}}}));
    EXPECT_THROW(Set(0, 1), std::bad_alloc);
    EXPECT_EQ(Set(0, 1), "Tensor 参数错误") << "the request exists, but its buffers do not";
    Load(EchoModel({{"a", "f32", {"?", "?"}}}));
    ASSERT_TRUE(wrapper.SetTensorShape(TensorTypeInput, 0, {1, 1}).Ok());
    EXPECT_EQ(Set(0, 4), "") << "its shape was set before the first data";
    EXPECT_EQ(wrapper.Invoke().message, "");

    Load(EchoModel({{"a", "f32", {}}}));
    EXPECT_EQ(Set(0, 1), "Tensor is Dynamic Shapes");

    Load(AddModel({10}));
    EXPECT_EQ(wrapper.SetTensorShape(TensorTypeOutput, 1, {}).message, "Error tensorIndex");
    ASSERT_TRUE(wrapper.SetTensorShape(TensorTypeOutput, 0, {9}).Ok());
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeOutput, 0).shape, (std::vector<int64_t>{9}));
    ASSERT_TRUE(wrapper.SetTensorShape(TensorTypeInput, 0, {1, 4}).Ok());
    EXPECT_NE(Set(0, 1), "") << "the runtime refuses a shape that is not the model's";
}

// With the C interface, an export uses the folder for temporary files.
TEST_F(OpenvinoWrapperTest, LoadsAModelWhenTheExportFails) {
    InterpreterParams params;
    params.modelPath = AddModel({10}).WriteTo(folder, "加法");
    params.openvinoCachePath = folder.Path("缓存");
    params.openvinoMakeCache = true;
    const std::string temporary = Platform::Utf8FromPath(std::filesystem::temp_directory_path());
    Testing::SetTemporaryFolder(folder.Path("missing"));
    EXPECT_EQ(wrapper.Init(params).message, "");
    Testing::SetTemporaryFolder(temporary);
    EXPECT_EQ(Set(0, 4), "");
    EXPECT_EQ(wrapper.Invoke().message, "");
}

TEST(AlignedBufferTest, IsAlignedAndZeroFilled) {
    std::vector<AlignedBuffer> buffers;
    for (const uint64_t size : {0U, 1U, 63U, 64U, 1000U, 5'000'000U}) {
        buffers.push_back(AlignedBuffer::ForOverwrite(size));
        std::fill_n(buffers.back().Data(), size, uint8_t{1});
        buffers.back() = AlignedBuffer::ZeroFilled(size);  // may reuse memory that is not zero
    }
    for (AlignedBuffer& buffer : buffers) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer.Data()) % 64, 0U) << buffer.Size();
        EXPECT_NE(buffer.Data(), nullptr);
        EXPECT_EQ(std::count(buffer.Data(), buffer.Data() + buffer.Size(), 0), static_cast<int64_t>(buffer.Size()));
    }
}

}  // namespace
}  // namespace Orvane
