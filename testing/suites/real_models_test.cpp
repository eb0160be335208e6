// The command line against the runtime itself: the same real model, the same inputs, the same bits.

#include "backends/openvino/cache_keystream.h"
#include "cli/captured_run.h"
#include "platform/path.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <openvino/openvino.hpp>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sstream>
#include <tuple>

namespace Orvane {
namespace {

using Bytes = std::vector<uint8_t>;

std::string Material(const std::string& name) {
    return std::string(ORVANE_MATERIAL_FOLDER) + "/" + name;
}

// A model compiled and run by the runtime alone, with the empty property map that the SDK uses as well.
class DirectModel {
 public:
    explicit DirectModel(const std::string& path) : compiled(core.compile_model(path, "CPU", ov::AnyMap{})) {}
    explicit DirectModel(std::istringstream exported) : compiled(core.import_model(exported, "CPU", ov::AnyMap{})) {}

    std::vector<Bytes> Run(const std::vector<Bytes>& inputs) {
        for (size_t i = 0; i < inputs.size(); ++i) {
            std::memcpy(request.get_input_tensor(i).data(), inputs[i].data(), inputs[i].size());
        }
        request.infer();
        std::vector<Bytes> outputs;
        for (size_t i = 0; i < compiled.outputs().size(); ++i) {
            const ov::Tensor tensor = request.get_output_tensor(i);
            const auto* data = static_cast<const uint8_t*>(tensor.data());
            outputs.emplace_back(data, data + tensor.get_byte_size());
        }
        return outputs;
    }

    std::vector<Bytes> Inputs() const {
        std::vector<Bytes> inputs;
        for (const auto& port : compiled.inputs()) {
            std::vector<float> values(ov::shape_size(port.get_shape()));
            for (size_t i = 0; i < values.size(); ++i) {
                values[i] = std::sin(static_cast<float>(i) * 0.37F + static_cast<float>(inputs.size()));
            }
            const auto* bytes = reinterpret_cast<const uint8_t*>(values.data());
            inputs.emplace_back(bytes, bytes + values.size() * sizeof(float));
        }
        return inputs;
    }

 private:
    ov::Core core;
    ov::CompiledModel compiled;
    ov::InferRequest request = compiled.create_infer_request();
};

std::istringstream AsStream(const Bytes& bytes) {
    return std::istringstream(std::string(bytes.begin(), bytes.end()));
}

// A model, and whether it runs in a host process.
class RealModels : public testing::TestWithParam<std::tuple<std::string, bool>> {
 protected:
    void SetUp() override {
        if (!std::filesystem::exists(Platform::PathFromUtf8(model))) {
            GTEST_SKIP() << model << " is missing; ./dev setup fetches it";
        }
        direct.emplace(model);
        inputs = direct->Inputs();
        expected = direct->Run(inputs);
    }

    // The outputs of `orvane run` with more arguments in front, by way of files.
    std::vector<Bytes> RunCommand(std::vector<std::string> arguments, const std::vector<Bytes>& tensors) {
        arguments.insert(arguments.begin(), "run");
        if (std::get<1>(GetParam())) {
            arguments.insert(arguments.end(), {"--host", ORVANE_HOST_PATH});
        }
        for (size_t i = 0; i < tensors.size(); ++i) {
            const std::string number = std::to_string(i);
            arguments.insert(arguments.end(), {"--input", number + "=" + folder.Write("in" + number, tensors[i])});
        }
        for (size_t i = 0; i < expected.size(); ++i) {
            const std::string number = std::to_string(i);
            arguments.insert(arguments.end(), {"--output", number + "=" + folder.Path("out" + number)});
        }
        const Cli::CapturedRun run = Cli::RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 0) << run.err;
        std::vector<Bytes> outputs;
        while (run.exitValue == 0 && outputs.size() < expected.size()) {
            outputs.push_back(Testing::ReadBytes(folder.Path("out" + std::to_string(outputs.size()))));
        }
        return outputs;
    }

    Testing::TemporaryFolder folder;
    std::string model = Material(std::get<0>(GetParam()));
    std::optional<DirectModel> direct;
    std::vector<Bytes> inputs;
    std::vector<Bytes> expected;
};

TEST_P(RealModels, GiveTheRuntimesOwnBits) {
    EXPECT_TRUE(RunCommand({model, "--repeat", "3"}, inputs) == expected);
}

TEST_P(RealModels, RunEncrypted) {
    const std::string plain = folder.Path("模型.xml");
    ov::save_model(ov::Core().read_model(model), plain, false);
    expected = DirectModel(plain).Run(inputs);
    for (const char* name : {"模型.xml", "模型.bin"}) {
        const std::string encrypted = folder.Path(std::string("密") + name);
        const Cli::CapturedRun run =
            Cli::RunCaptured({"encrypt", "--key", "k1!", "--pad", folder.Path(name), encrypted});
        ASSERT_EQ(run.exitValue, 0) << run.err;
        std::filesystem::remove(Platform::PathFromUtf8(folder.Path(name)));
    }
    EXPECT_TRUE(RunCommand({folder.Path("密模型.xml"), "--key", "k1!"}, inputs) == expected);
    const Cli::CapturedRun wrongKey = Cli::RunCaptured({"info", folder.Path("密模型.xml"), "--key", "k2!"});
    EXPECT_EQ(wrongKey.exitValue, 1);
    EXPECT_NE(wrongKey.err.find("--key"), std::string::npos) << wrongKey.err;
}

TEST_P(RealModels, RunFromTheirCacheAlone) {
    const std::string cache = folder.Path("缓存.blob");
    EXPECT_TRUE(RunCommand({model, "--cache", cache, "--make-cache"}, inputs) == expected);
    EXPECT_TRUE(RunCommand({"--cache", cache}, inputs) == expected);

    // The file is an export of the runtime's own under the keystream: without it, only the runtime is needed.
    Bytes bytes = Testing::ReadBytes(cache);
    EXPECT_THROW(DirectModel(AsStream(bytes)), ov::Exception);
    ApplyCacheKeystream(0, bytes.data(), bytes.size());
    EXPECT_TRUE(DirectModel(AsStream(bytes)).Run(inputs) == expected);
}

using VoiceActivity = RealModels;

TEST_P(VoiceActivity, CarriesItsStateOverManySteps) {
    std::vector<Bytes> carried = inputs;
    for (int step = 0; step < 20; ++step) {
        expected = direct->Run(inputs);
        const std::vector<Bytes> outputs = RunCommand({model}, carried);
        ASSERT_TRUE(outputs == expected) << step;
        inputs[1] = expected[1];
        carried[1] = outputs[1];
    }
}

constexpr const char* kVoice = "silero_vad_openvino_16k.onnx";
INSTANTIATE_TEST_SUITE_P(Files, VoiceActivity, testing::Combine(testing::Values(kVoice), testing::Bool()));
INSTANTIATE_TEST_SUITE_P(Files, RealModels,
                         testing::Combine(testing::Values("face_detection_short_range.tflite", kVoice,
                                                          "pose_landmark_full.tflite"),
                                          testing::Bool()));

}  // namespace
}  // namespace Orvane
