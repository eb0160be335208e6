// Compares the command line with the runtime: a real model with the same inputs must return the same bits.

#include "backends/openvino/cache_keystream.h"
#include "cli/captured_run.h"
#include "platform/path.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <openvino/openvino.hpp>

#include <cmath>
#include <filesystem>
#include <sstream>
#include <tuple>

namespace Orvane {
namespace {

std::string BytesOf(const ov::Tensor& tensor) {
    return {static_cast<const char*>(tensor.data()), tensor.get_byte_size()};
}

// A model, and whether it runs in a host process.
class RealModels : public testing::TestWithParam<std::tuple<std::string, bool>> {
 protected:
    void SetUp() override {
        if (!std::filesystem::exists(Platform::PathFromUtf8(model))) {
            GTEST_SKIP() << model << " is missing; ./dev setup downloads it";
        }
    }

    // Fills each input, writes it to a file, and keeps the outputs of the runtime as the expected ones.
    void RunDirectly(ov::CompiledModel direct) {
        files.clear();
        expected.clear();
        ov::InferRequest request = direct.create_infer_request();
        for (size_t i = 0; i < direct.inputs().size(); ++i) {
            ov::Tensor tensor = request.get_input_tensor(i);
            for (size_t element = 0; element < tensor.get_size(); ++element) {
                tensor.data<float>()[element] = std::sin(static_cast<float>(element) * 0.37F + static_cast<float>(i));
            }
            AddFile("--input", i, folder.Write("in" + std::to_string(i), BytesOf(tensor)));
        }
        request.infer();
        for (size_t i = 0; i < direct.outputs().size(); ++i) {
            expected.push_back(BytesOf(request.get_output_tensor(i)));
            AddFile("--output", i, folder.Path("out" + std::to_string(i)));
        }
    }

    void AddFile(const char* option, size_t index, const std::string& file) {
        files.insert(files.end(), {option, std::to_string(index).append("=").append(file)});
    }

    // Compares the outputs of `orvane run` with these arguments.
    void ExpectSameOutputs(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "run");
        arguments.insert(arguments.end(), files.begin(), files.end());
        if (std::get<1>(GetParam())) {
            arguments.emplace_back("--remote");
        }
        const Cli::CapturedRun run = Cli::RunCaptured(arguments);
        ASSERT_EQ(run.exitValue, 0) << run.err;
        for (size_t i = 0; i < expected.size(); ++i) {
            const std::string file = folder.Path("out" + std::to_string(i));
            EXPECT_TRUE(Testing::ReadBytes(file) == expected[i]) << i;
            std::filesystem::remove(Platform::PathFromUtf8(file));
        }
    }

    Testing::TemporaryFolder folder;
    std::string model = ORVANE_MATERIAL_FOLDER "/" + std::get<0>(GetParam());
    std::vector<std::string> files;  // arguments
    std::vector<std::string> expected;
};

// Uses an empty property map, as the SDK does.
TEST_P(RealModels, MatchTheRuntimeBitForBit) {
    ov::Core core;
    RunDirectly(core.compile_model(model, "CPU", ov::AnyMap{}));
    const std::string cache = folder.Path("缓存.blob");
    ExpectSameOutputs({model, "--cache", cache, "--make-cache"});
    ExpectSameOutputs({"--cache", cache, "--repeat", "3"});

    // The cache file is the runtime's export, XORed with the keystream.
    std::string bytes = Testing::ReadBytes(cache);
    ApplyCacheKeystream(0, reinterpret_cast<uint8_t*>(bytes.data()), bytes.size());
    std::istringstream exported(bytes);
    const std::vector<std::string> before = expected;
    RunDirectly(core.import_model(exported, "CPU", ov::AnyMap{}));
    EXPECT_TRUE(before == expected);
}

INSTANTIATE_TEST_SUITE_P(Files, RealModels,
                         testing::Combine(testing::Values("face_detection_short_range.tflite",
                                                          "silero_vad_openvino_16k.onnx", "pose_landmark_full.tflite"),
                                          testing::Bool()));

}  // namespace
}  // namespace Orvane
