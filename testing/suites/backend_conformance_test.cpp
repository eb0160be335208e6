// The same tests for the backend in this process and the backend in a host process. The last tests show where the two
// differ on purpose.

#include <orvane/host.h>
#include <orvane/model_file_cipher.h>

#include "core/i_orvane.h"
#include "testing/support/temporary_folder.h"
#include "testing/support/tiny_models.h"
#include "testing/support/wire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace Orvane {
namespace {

using Floats = std::vector<float>;
using Testing::AddModel;
using Testing::EchoModel;

constexpr ModelFileCipher kCipher{1, {'k', 'e', 'y', 0}};

Testing::TinyModel Encrypted(Testing::TinyModel model) {
    // The cipher cannot restore the tail of some lengths. Pad the text with blanks and the weights with zeros.
    for (const auto& [bytes, filler] : {std::pair(&model.description, ' '), {&model.weights, '\0'}}) {
        bytes->resize((bytes->size() + 15) / 16 * 16, filler);
        kCipher.Encrypt(reinterpret_cast<uint8_t*>(bytes->data()), static_cast<uint32_t>(bytes->size()));
    }
    return model;
}

class Backend : public testing::TestWithParam<const char*> {
 protected:
    InterpreterParams Params(const std::string& modelPath) const {
        InterpreterParams params;
        params.framework = FrameworkTypeOpenvino;
        params.modelPath = modelPath;
        params.host = remote ? HostPathBesideProgram() : "";
        return params;
    }

    std::string Init(const InterpreterParams& params) {
        const Status status = backend->Init(params);
        EXPECT_EQ(status.code, status.Ok() ? 0 : -1);
        return status.message;
    }

    std::string InitAndRun(const InterpreterParams& params) {
        const std::string failure = Init(params);
        return failure.empty() ? Run() : failure;
    }

    TensorInfo Input(uint32_t index) { return backend->GetTensorInfo(TensorTypeInput, index); }

    // Runs the add model on {1, 2, 3}. Returns its outputs, or the message of a failure.
    std::string Run() {
        const Floats x = {1, 2, 3};
        Floats y(3);
        Status status = backend->SetInputData(0, x.data(), 12);
        status = status.Ok() ? backend->Invoke() : status;
        status = status.Ok() ? backend->CopyOutputTo(0, y.data(), 12) : status;
        std::ostringstream text;
        text << status.message;
        for (const float value : status.Ok() ? y : Floats{}) {
            text << value << " ";
        }
        return text.str();
    }

    bool remote = GetParam() == std::string("remote");
    Testing::TemporaryFolder folder;
    std::string addModel = AddModel({10, 20, 30}).WriteTo(folder, "加法");
    std::unique_ptr<IOrvane> backend = remote ? CreateRemoteBackend() : CreateLocalBackend(FrameworkTypeOpenvino);
};

TEST_P(Backend, RunsAModel) {
    ASSERT_EQ(Init(Params(addModel)), "");
    EXPECT_EQ(backend->GetTensorCount(TensorTypeInput), 1);
    EXPECT_EQ(backend->GetTensorCount(static_cast<TensorType>(7)), 1) << "every other type is an output";
    EXPECT_EQ(Input(0).name, "x");
    const auto [name, flag, dataType, format, shape] = backend->GetTensorInfo(TensorTypeOutput, 0);
    EXPECT_EQ(std::tuple(name, flag, dataType, format), std::tuple("y", false, DataTypeFloat32, 1U));
    EXPECT_EQ(shape, (std::vector<int64_t>{1, 3}));
    EXPECT_TRUE(backend->GetExtraInfo().empty());

    Floats y(3);
    EXPECT_EQ(backend->Invoke().message, "Must call CopyTo");
    EXPECT_FALSE(backend->CopyOutputTo(0, y.data(), 12).Ok());
    EXPECT_EQ(backend->GetTensorData(TensorTypeOutput, 0), nullptr);

    ASSERT_EQ(Run(), "11 22 33 ");
    const float five = 5;
    EXPECT_TRUE(backend->SetInputData(0, &five, 4).Ok());
    EXPECT_TRUE(backend->SetInputData(0, nullptr, 0).Ok());
    ASSERT_TRUE(backend->Invoke().Ok());
    const auto* data = static_cast<const float*>(backend->GetTensorData(TensorTypeOutput, 0));
    ASSERT_NE(data, nullptr);
    EXPECT_EQ((Floats{data[0], data[1], data[2]}), (Floats{15, 22, 33})) << "a short input keeps the last values";

    EXPECT_EQ(backend->SetInputData(0, Floats(4).data(), 13).message, "数据大小错误");
    y = {-1, -1, -1};
    EXPECT_EQ(backend->CopyOutputTo(0, y.data(), 11).message, "数据大小错误");
    EXPECT_EQ(y, (Floats{-1, -1, -1}));
    EXPECT_EQ(backend->GetTensorData(TensorTypeInput, 0), nullptr);
    EXPECT_EQ(backend->BindTensor(0, TensorTypeInput, 0, TensorTypeOutput).message, "不支持此操作");
    EXPECT_EQ(Run(), "11 22 33 ");
}

TEST_P(Backend, RunsOnInputMemoryWithoutACopy) {
    ASSERT_EQ(Init(Params(addModel)), "");
    const Floats own = {1, 2, 3};
    Floats y(3);
    const auto runOn = [&](const void* data) {
        EXPECT_EQ(backend->SetInputData(0, data, 12).message, "");
        EXPECT_TRUE(backend->Invoke().Ok());
        EXPECT_TRUE(backend->CopyOutputTo(0, y.data(), 12).Ok());
        return y;
    };
    std::shared_ptr<void> memory;
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(backend->GetInputMemory(0, 12, memory).message, "");
        auto* const data = static_cast<float*>(memory.get());
        std::copy(own.begin(), own.end(), data);
        EXPECT_EQ(runOn(data), (Floats{11, 22, 33}));
        EXPECT_EQ(backend->SetInputData(0, y.data(), 12).message, "");
        EXPECT_EQ(data[2], 33) << "the memory is the input's buffer";
    }
    ASSERT_EQ(runOn(own.data()), (Floats{11, 22, 33}));
    EXPECT_EQ(runOn(backend->GetTensorData(TensorTypeOutput, 0)), (Floats{21, 42, 63}))
        << "an output can be set as an input";

    EXPECT_EQ(backend->GetInputMemory(0, remote ? kMaxHostTensorBytes + 1 : 13, memory).message, "数据大小错误");
    EXPECT_EQ(backend->GetInputMemory(1, 12, memory).Ok(), remote) << "the host process is not asked";
    ASSERT_EQ(backend->GetInputMemory(0, 12, memory).message, "");
    std::shared_ptr<void> later;
    backend->Release();
    EXPECT_EQ(backend->GetInputMemory(0, 12, later).message, remote ? "Orvane Host Exit" : "");
    backend.reset();
    std::memset(memory.get(), 1, 12);
}

TEST_P(Backend, DescribesEveryElementType) {
    const std::vector<std::pair<std::string, DataType>> types = {
        {"f32", DataTypeFloat32}, {"f16", DataTypeFloat16},  {"i32", DataTypeInt32}, {"u8", DataTypeUInt8},
        {"i64", DataTypeInt64},   {"boolean", DataTypeBool}, {"i16", DataTypeInt16}, {"i8", DataTypeInt8},
        {"f64", DataTypeFloat64}, {"u16", DataTypeUnknown}};
    std::vector<Testing::TinyPort> ports;
    for (const auto& [name, type] : types) {
        ports.push_back({name, name, {"2", "3"}});
    }
    ports.push_back({"", "f32", {"1"}});
    ASSERT_EQ(Init(Params(EchoModel(ports).WriteTo(folder, "types"))), "");
    ASSERT_EQ(backend->GetTensorCount(TensorTypeInput), 11);
    for (uint32_t i = 0; i < types.size(); ++i) {
        const TensorInfo info = Input(i);
        EXPECT_EQ(info.name, types[i].first);
        EXPECT_EQ(info.dataType, types[i].second) << info.name;
        EXPECT_EQ(info.shape, (std::vector<int64_t>{2, 3}));
    }
    EXPECT_EQ(Input(10).name, "");
}

TEST_P(Backend, LoadsOneModelAfterAnother) {
    EXPECT_EQ(InitAndRun(Params(addModel)), "11 22 33 ");
    ASSERT_EQ(Init(Params(EchoModel({{"a", "u8", {"2"}}, {"b", "u8", {"2"}}}).WriteTo(folder, "m"))), "");
    EXPECT_EQ(backend->GetTensorCount(TensorTypeInput), 2);
    EXPECT_EQ(backend->GetTensorInfo(TensorTypeOutput, 1).name, "b");
    EXPECT_EQ(backend->Invoke().message, "Must call CopyTo");

    InterpreterParams params = Params(addModel);
    params.openvinoDevice = "TPU";
    for (const std::string& path : {std::string(), addModel}) {
        params.modelPath = path;
        EXPECT_EQ(Init(params), "不支持的设备类型");  // the device is checked before the model
    }
    params.openvinoDevice = "PU";  // a part of "CPU": only the runtime refuses it
    const std::string refusal = Init(params);
    EXPECT_NE(refusal.find("PU"), std::string::npos);
    EXPECT_NE(refusal, "不支持的设备类型");
    EXPECT_EQ(Init(Params("")), "模型参数错误");
    EXPECT_NE(Init(Params(folder.Path("missing.xml"))), "");
    EXPECT_NE(Init(Params(folder.Write("text.xml", "no model"))), "");

    params = Params(folder.Path(""));
    params.modelName = "加法.xml";
    params.openvinoDevice = "CPU";
    EXPECT_EQ(InitAndRun(params), "11 22 33 ") << "the name is appended to the path unchanged";
}

TEST_P(Backend, RunsEncryptedModelsWithoutTheirPlainFiles) {
    const Testing::TinyModel encrypted = Encrypted(AddModel({10, 20, 30}));
    InterpreterParams params = Params(encrypted.WriteTo(folder, "密.v1"));
    params.openvinoMakeEncrypted = true;
    params.openvinoMakeEncryptedKey = kCipher.key;
    const std::vector<std::string> before = folder.Names();
    EXPECT_EQ(InitAndRun(params), "11 22 33 ");
    EXPECT_EQ(folder.Names(), before);

    for (const auto& [name, weights] : {std::pair("noextension", "noextension.bin"), {".xml", ".bin"}}) {
        params.modelPath = folder.Write(name, encrypted.description);
        folder.Write(weights, encrypted.weights);
        EXPECT_EQ(InitAndRun(params), "11 22 33 ") << name;
    }

    InterpreterParams weightless = params;
    weightless.modelPath = Encrypted(EchoModel({{"a", "f32", {"1"}}})).WriteTo(folder, "weightless");
    EXPECT_EQ(Init(weightless), "") << "an empty .bin is fine for a model without weights";

    params.openvinoMakeEncryptedKey = {'k', 'e', 'y', '!'};
    EXPECT_NE(Init(params), "");
    params.openvinoMakeEncryptedKey = kCipher.key;
    params.modelPath = folder.Write("lonely.xml", encrypted.description);
    EXPECT_NE(Init(params), "") << "without its weights";
    params.modelPath = folder.Path("missing.xml");
    EXPECT_NE(Init(params), "");
}

TEST_P(Backend, CacheReplacesTheModelFiles) {
    InterpreterParams params = Params(addModel);
    params.openvinoCachePath = folder.Path("缓存.blob");
    ASSERT_EQ(Init(params), "");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"加法.bin", "加法.xml"}))
        << "the cache is written only on request";
    params.openvinoMakeCache = true;
    backend->Release();  // a host's first model decides what the host may write
    EXPECT_EQ(InitAndRun(params), "11 22 33 ");
    const std::string cache = Testing::ReadBytes(params.openvinoCachePath);
    EXPECT_EQ(cache.find("<net"), std::string::npos) << "the cache is scrambled";

    params.modelPath.clear();
    EXPECT_EQ(InitAndRun(params), "11 22 33 ");
    EXPECT_EQ(Input(0).name, "x");
    EXPECT_EQ(Testing::ReadBytes(params.openvinoCachePath), cache);

    // A damaged cache is a failure even if the model files exist.
    params.modelPath = addModel;
    for (size_t size = 0; size < cache.size(); size += 1 + cache.size() / 40) {
        folder.Write("缓存.blob", cache.substr(0, size));
        EXPECT_NE(Init(params), "") << size;
    }
    params.openvinoCachePath = folder.Path("");
    EXPECT_NE(Init(params), "") << "a folder is not a cache";
    params.openvinoCachePath = folder.Path(std::string(300, '*'));
    EXPECT_NE(Init(params), "") << "an invalid name is not a missing file";
    params.openvinoCachePath = folder.Path("missing/缓存.blob");
    EXPECT_EQ(InitAndRun(params), "11 22 33 ") << "a cache that cannot be written is no failure";
}

TEST_P(Backend, HostSendsADynamicDimensionUnsigned) {
    ASSERT_EQ(Init(Params(EchoModel({{"a", "f32", {"?", "4"}}}).WriteTo(folder, "dynamic"))), "");
    EXPECT_EQ(Input(0).shape, (std::vector<int64_t>{remote ? 4'294'967'295 : -1, 4}));
}

TEST_P(Backend, SettingAShapeEndsTheHost) {
    ASSERT_EQ(Init(Params(addModel)), "");
    EXPECT_EQ(backend->SetTensorShape(TensorTypeInput, 0, {}).message, "");
    EXPECT_EQ(Input(0).shape, std::vector<int64_t>());
    EXPECT_EQ(backend->SetTensorShape(TensorTypeInput, 0, {1, 3}).message, remote ? "host call  error" : "");
    EXPECT_EQ(Run(), remote ? "Orvane Host Exit" : "11 22 33 ");
}

TEST_P(Backend, HostGetsNoOptionsWithTheOtherFrameworkNumber) {
    InterpreterParams params = Params(addModel);
    params.framework = FrameworkTypeOpenvinoPlain;
    params.openvinoDevice = "TPU";
    EXPECT_EQ(Init(params), remote ? "" : "不支持的设备类型");
}

TEST_P(Backend, ReleaseEndsOnlyTheHost) {
    backend->Release();  // nothing to release yet
    EXPECT_EQ(InitAndRun(Params(addModel)), "11 22 33 ");
    backend->Release();
    backend->Release();
    EXPECT_EQ(Run(), remote ? "Orvane Host Exit" : "11 22 33 ");
    EXPECT_EQ(InitAndRun(Params(addModel)), "11 22 33 ");
}

TEST(RealHost, FreesItsModelAndExits) {
    const Testing::TemporaryFolder folder;
    Testing::Wire::HostUnderTest host(HostPathBesideProgram());
    const std::string init = Testing::Wire::InitRequest(AddModel({10}).WriteTo(folder, "加法"));
    ASSERT_TRUE(host.RepliesTo(init, Testing::Wire::kSuccess));
    ASSERT_TRUE(host.RepliesTo(Testing::Wire::Word(9), ""));
    EXPECT_EQ(host.End(), "0");
}

INSTANTIATE_TEST_SUITE_P(Conformance, Backend, testing::Values("in_process", "remote"),
                         [](const auto& suite) { return suite.param; });

}  // namespace
}  // namespace Orvane
