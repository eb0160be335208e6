#include "backends/openvino/openvino_wrapper.h"

#include <orvane/interpreter.h>
#include <orvane/model_file_cipher.h>

#include "testing/captured_log.h"
#include "testing/temporary_folder.h"
#include "testing/tiny_models.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace Orvane {
namespace {

using Floats = std::vector<float>;
using Testing::AddModel;
using Testing::EchoModel;

constexpr ModelFileCipher kCipher{1, {'k', 'e', 'y', 0}};

InterpreterParams Params(const std::string& modelPath) {
    InterpreterParams params;
    params.framework = FrameworkTypeOpenvino;
    params.modelPath = modelPath;
    return params;
}

Testing::TinyModel Encrypted(Testing::TinyModel model) {
    // Blanks behind the text and zeros behind the weights fill up a tail that the cipher would not give back.
    model.description.resize((model.description.size() + 15) / 16 * 16, ' ');
    model.weights.resize((model.weights.size() + 15) / 16 * 16);
    kCipher.Encrypt(reinterpret_cast<uint8_t*>(model.description.data()),
                    static_cast<uint32_t>(model.description.size()));
    kCipher.Encrypt(model.weights.data(), static_cast<uint32_t>(model.weights.size()));
    return model;
}

class OpenvinoWrapperTest : public testing::Test {
 protected:
    // Runs the add model on {1, 2, 3}; its outputs, or a failure's message.
    std::string Run() {
        const Floats x = {1, 2, 3};
        Floats y(3);
        Status status = wrapper.SetInputData(0, x.data(), 12);
        status = status.Ok() ? wrapper.Invoke() : status;
        status = status.Ok() ? wrapper.CopyOutputTo(0, y.data(), 12) : status;
        std::ostringstream text;
        text << status.message;
        for (const float value : status.Ok() ? y : Floats{}) {
            text << value << " ";
        }
        return text.str();
    }

    Testing::TemporaryFolder folder;
    std::string addModel = AddModel({10, 20, 30}).WriteTo(folder, "加法");
    Testing::CapturedLog log;
    OpenvinoWrapper wrapper;
};

TEST_F(OpenvinoWrapperTest, RunsAModelFromEndToEnd) {
    ASSERT_EQ(wrapper.Init(Params(addModel)).message, "");
    EXPECT_EQ(wrapper.GetTensorCount(TensorTypeInput), 1);
    EXPECT_EQ(wrapper.GetTensorCount(static_cast<TensorType>(7)), 1) << "whatever is not the input side is the output";
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeInput, 0).name, "x");
    const TensorInfo output = wrapper.GetTensorInfo(TensorTypeOutput, 0);
    EXPECT_EQ(output.name, "y");
    EXPECT_EQ(output.dataType, DataTypeFloat32);
    EXPECT_EQ(output.format, 1U);
    EXPECT_FALSE(output.flag);
    EXPECT_EQ(output.shape, (std::vector<int64_t>{1, 3}));

    // Nothing can run or be read before data was copied in.
    EXPECT_EQ(wrapper.Invoke().message, "Must call CopyTo");
    Floats y(3);
    EXPECT_FALSE(wrapper.CopyOutputTo(0, y.data(), 12).Ok());
    log.Take();
    EXPECT_EQ(wrapper.GetTensorData(TensorTypeOutput, 0), nullptr);
    const auto lines = log.Take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].second.rfind("[ORVANE]:get_output_tensor error:", 0), 0U);

    ASSERT_EQ(Run(), "11 22 33 ");
    const float five = 5;
    ASSERT_TRUE(wrapper.SetInputData(0, &five, 4).Ok());
    ASSERT_TRUE(wrapper.SetInputData(0, nullptr, 0).Ok());
    ASSERT_TRUE(wrapper.Invoke().Ok());
    const auto* data = static_cast<const float*>(wrapper.GetTensorData(TensorTypeOutput, 0));
    EXPECT_EQ(Floats(data, data + 3), (Floats{15, 22, 33})) << "a short input leaves the tail";

    EXPECT_EQ(wrapper.SetInputData(0, y.data(), 13).message, "数据大小错误");
    EXPECT_EQ(wrapper.SetInputData(1, y.data(), 4).message, "Tensor 参数错误");
    EXPECT_EQ(wrapper.CopyOutputTo(0, y.data(), 11).message, "数据大小错误");
    EXPECT_FALSE(wrapper.CopyOutputTo(1, y.data(), 12).Ok());
    EXPECT_EQ(wrapper.GetTensorData(TensorTypeInput, 0), nullptr);
    EXPECT_EQ(wrapper.BindTensor(0, TensorTypeInput, 0, TensorTypeOutput).message, "不支持此操作");
    EXPECT_TRUE(wrapper.GetExtraInfo().empty());
    wrapper.Release();
    EXPECT_EQ(Run(), "11 22 33 ") << "releasing does nothing";

    // Loading once more starts from the beginning, with another model's ports.
    ASSERT_TRUE(wrapper.Init(Params(EchoModel({{"a", "u8", {"2"}}, {"b", "u8", {"2"}}}).WriteTo(folder, "m"))).Ok());
    EXPECT_EQ(wrapper.GetTensorCount(TensorTypeInput), 2);
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeOutput, 1).name, "b");
    EXPECT_EQ(wrapper.Invoke().message, "Must call CopyTo");
}

TEST_F(OpenvinoWrapperTest, DescribesEveryElementType) {
    const std::vector<std::pair<std::string, DataType>> types = {
        {"f32", DataTypeFloat32}, {"f16", DataTypeFloat16},  {"i32", DataTypeInt32}, {"u8", DataTypeUInt8},
        {"i64", DataTypeInt64},   {"boolean", DataTypeBool}, {"i16", DataTypeInt16}, {"i8", DataTypeInt8},
        {"f64", DataTypeFloat64}, {"u16", DataTypeUnknown}};
    std::vector<Testing::TinyPort> ports;
    for (const auto& [name, type] : types) {
        ports.push_back({name, name, {"2", "3"}});
    }
    ports.push_back({"dynamic", "f32", {"?", "4"}});
    ports.push_back({"", "f32", {"1"}});
    ASSERT_EQ(wrapper.Init(Params(EchoModel(ports).WriteTo(folder, "types"))).message, "");
    for (uint32_t i = 0; i < types.size(); ++i) {
        const TensorInfo info = wrapper.GetTensorInfo(TensorTypeInput, i);
        EXPECT_EQ(info.name, types[i].first);
        EXPECT_EQ(info.dataType, types[i].second) << info.name;
        EXPECT_EQ(info.shape, (std::vector<int64_t>{2, 3}));
    }
    const auto last = static_cast<uint32_t>(ports.size()) - 1;
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeInput, last - 1).shape, (std::vector<int64_t>{-1, 4}));
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeInput, last).name, "");
    const auto lines = log.Take();
    ASSERT_EQ(lines.size(), 2U) << "once for the nameless input, once for the nameless output";
    EXPECT_EQ(lines[0].second.rfind("[ORVANE]:port.get_any_name() error:", 0), 0U);
}

TEST_F(OpenvinoWrapperTest, ShapesThatCannotBePrepared) {
    ASSERT_TRUE(wrapper.Init(Params(EchoModel({{"a", "f32", {"?", "?"}}}).WriteTo(folder, "dynamic"))).Ok());
    char byte = 0;
    Status status;
    EXPECT_THROW(status = wrapper.SetInputData(0, &byte, 1), std::bad_alloc);
    EXPECT_EQ(wrapper.SetInputData(0, &byte, 1).message, "Tensor 参数错误") << "the request is there, its buffers not";
    // A dynamic input that is told its shape before the first data has a size.
    ASSERT_TRUE(wrapper.Init(Params(folder.Path("dynamic.xml"))).Ok());
    ASSERT_TRUE(wrapper.SetTensorShape(TensorTypeInput, 0, {1, 1}).Ok());
    const float value = 4;
    EXPECT_TRUE(wrapper.SetInputData(0, &value, 4).Ok());
    EXPECT_EQ(wrapper.Invoke().message, "");
    float echoed = 0;
    EXPECT_EQ(wrapper.CopyOutputTo(0, &echoed, 4).message, "");
    EXPECT_EQ(echoed, 4);

    ASSERT_TRUE(wrapper.Init(Params(EchoModel({{"a", "f32", {}}}).WriteTo(folder, "scalar"))).Ok());
    EXPECT_EQ(wrapper.SetInputData(0, &byte, 1).message, "Tensor is Dynamic Shapes");
    EXPECT_EQ(wrapper.SetInputData(0, &byte, 1).message, "Tensor 参数错误");

    ASSERT_TRUE(wrapper.Init(Params(addModel)).Ok());
    EXPECT_EQ(wrapper.SetTensorShape(TensorTypeInput, 1, {}).message, "Error tensorIndex");
    EXPECT_EQ(wrapper.SetTensorShape(TensorTypeOutput, 1, {}).message, "Error tensorIndex");
    ASSERT_TRUE(wrapper.SetTensorShape(TensorTypeOutput, 0, {9}).Ok());
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeOutput, 0).shape, (std::vector<int64_t>{9}));
    EXPECT_EQ(Run(), "11 22 33 ") << "only the description has changed";
    ASSERT_TRUE(wrapper.Init(Params(addModel)).Ok());
    ASSERT_TRUE(wrapper.SetTensorShape(TensorTypeInput, 0, {1, 4}).Ok());
    EXPECT_NE(wrapper.SetInputData(0, &byte, 1).message, "") << "the runtime refuses a shape that is not the model's";
}

TEST_F(OpenvinoWrapperTest, RefusesDevicesAndModels) {
    InterpreterParams params = Params(addModel);
    params.openvinoDevice = "TPU";
    EXPECT_EQ(wrapper.Init(params).message, "不支持的设备类型");
    params.openvinoDevice = "PU";  // a part of "CPU", so the runtime is asked, and refuses
    const Status status = wrapper.Init(params);
    EXPECT_NE(status.message.find("PU"), std::string::npos);
    EXPECT_NE(status.message, "不支持的设备类型");
    EXPECT_EQ(status.code, -1);

    EXPECT_EQ(wrapper.Init(Params("")).message, "模型参数错误");
    EXPECT_NE(wrapper.Init(Params(folder.Path("missing.xml"))).message, "");
    EXPECT_NE(wrapper.Init(Params(folder.Write("text.xml", "no model"))).message, "");

    params = Params(folder.Path(""));
    params.modelName = "加法.xml";
    params.openvinoDevice = "CPU";
    EXPECT_EQ(wrapper.Init(params).message, "") << "the name follows the path as it is";
    EXPECT_EQ(Run(), "11 22 33 ");
}

TEST_F(OpenvinoWrapperTest, RunsEncryptedModelsWithoutTheirPlainFiles) {
    const Testing::TinyModel encrypted = Encrypted(AddModel({10, 20, 30}));
    InterpreterParams params = Params(encrypted.WriteTo(folder, "密.v1"));
    params.openvinoMakeEncrypted = true;
    params.openvinoMakeEncryptedKey = kCipher.key;
    const std::vector<std::string> before = folder.Names();
    ASSERT_EQ(wrapper.Init(params).message, "");
    EXPECT_EQ(Run(), "11 22 33 ");
    EXPECT_EQ(folder.Names(), before);

    params.modelPath = folder.Write("noextension", encrypted.description);
    folder.Write("noextension.bin", encrypted.weights);
    ASSERT_EQ(wrapper.Init(params).message, "");
    EXPECT_EQ(Run(), "11 22 33 ");

    InterpreterParams weightless = params;
    weightless.modelPath = Encrypted(EchoModel({{"a", "f32", {"1"}}})).WriteTo(folder, "weightless");
    EXPECT_EQ(wrapper.Init(weightless).message, "") << "an empty .bin is fine for a model without weights";

    params.openvinoMakeEncryptedKey = {'k', 'e', 'y', '!'};
    EXPECT_NE(wrapper.Init(params).message, "");
    params.openvinoMakeEncryptedKey = kCipher.key;
    params.modelPath = folder.Write("lonely.xml", encrypted.description);
    EXPECT_NE(wrapper.Init(params).message, "") << "its weights are missing";
    params.modelPath = folder.Path("missing.xml");
    EXPECT_NE(wrapper.Init(params).message, "");
}

TEST_F(OpenvinoWrapperTest, TheCacheReplacesTheModelFiles) {
    InterpreterParams params = Params(addModel);
    params.openvinoCachePath = folder.Path("缓存.blob");
    ASSERT_TRUE(wrapper.Init(params).Ok());
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"加法.bin", "加法.xml"})) << "written only when asked for";
    params.openvinoMakeCache = true;
    ASSERT_TRUE(wrapper.Init(params).Ok());
    EXPECT_EQ(Run(), "11 22 33 ");
    const std::vector<uint8_t> cache = Testing::ReadBytes(params.openvinoCachePath);
    const std::string text(cache.begin(), cache.end());
    EXPECT_EQ(text.find("<net"), std::string::npos) << "the cache is scrambled";

    params.modelPath.clear();
    ASSERT_EQ(wrapper.Init(params).message, "");
    EXPECT_EQ(Run(), "11 22 33 ");
    EXPECT_EQ(wrapper.GetTensorInfo(TensorTypeInput, 0).name, "x");
    EXPECT_EQ(Testing::ReadBytes(params.openvinoCachePath), cache);

    // A damaged cache fails even where the model files would do.
    params.modelPath = addModel;
    for (size_t size = 0; size < cache.size(); size += 1 + cache.size() / 40) {
        folder.Write("缓存.blob", std::vector<uint8_t>(cache.begin(), cache.begin() + static_cast<ptrdiff_t>(size)));
        const Status status = wrapper.Init(params);
        EXPECT_FALSE(status.Ok()) << size;
        EXPECT_EQ(status.code, -1);
    }
    params.openvinoCachePath = folder.Path("");
    EXPECT_FALSE(wrapper.Init(params).Ok()) << "a folder is there, but no cache";
    params.openvinoCachePath = folder.Path("missing/缓存.blob");
    EXPECT_TRUE(wrapper.Init(params).Ok()) << "a cache that cannot be written is no failure";
    EXPECT_EQ(Run(), "11 22 33 ");
}

}  // namespace
}  // namespace Orvane
