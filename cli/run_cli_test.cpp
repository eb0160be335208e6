#include "cli/captured_run.h"
#include "cli/npy.h"
#include "testing/tiny_models.h"

#include <orvane/interpreter.h>
#include <orvane/log.h>
#include <orvane/version.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>

namespace Orvane::Cli {
namespace {

using nlohmann::json;
using Testing::AddModel;
using ::testing::AllOf;
using Testing::EchoModel;
using ::testing::HasSubstr;
using ::testing::Not;
using Testing::ReadBytes;
using ::testing::StartsWith;
using Strings = std::vector<std::string>;

std::vector<uint8_t> BytesOf(const std::vector<float>& values) {
    std::vector<uint8_t> bytes(values.size() * sizeof(float));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

class RunCliTest : public ::testing::Test {
 protected:
    std::string In(const std::string& which, const std::string& name) { return which + "=" + folder.Path(name); }

    Testing::TemporaryFolder folder;
    std::string add = AddModel({1, 2, 3}).WriteTo(folder, "add");
    std::string x = folder.Write("x.raw", BytesOf({10, 20, -30}));
    std::vector<uint8_t> sum = BytesOf({11, 22, -27});
};

TEST_F(RunCliTest, InfoListsTensorsOfEveryKind) {
    const std::string model =
        EchoModel({{"图像", "u8", {"1", "2", "3"}}, {"any", "f32", {"?", "4"}}}).WriteTo(folder, "two");
    const CapturedRun text = RunCaptured({"info", model});
    EXPECT_EQ(text.exitValue, 0) << text.err;
    EXPECT_EQ(text.out,
              "input   0  图像   uint8    [1, 2, 3]  6 bytes\n"
              "input   1  any  float32  [?, 4]     ? bytes\n"
              "output  0  图像   uint8    [1, 2, 3]  6 bytes\n"
              "output  1  any  float32  [?, 4]     ? bytes\n");
    const json object = json::parse(RunCaptured({"info", "--json", model}).out);
    EXPECT_EQ(object["inputs"], json::parse(R"([
        {"index": 0, "name": "图像", "element_type": "uint8", "shape": [1, 2, 3], "bytes": 6},
        {"index": 1, "name": "any", "element_type": "float32", "shape": [-1, 4], "bytes": null}])"));
    EXPECT_EQ(object["outputs"], object["inputs"]);
}

TEST_F(RunCliTest, OutputsAreWrittenBitForBit) {
    const std::string header = NpyHeader({DataTypeFloat32, {1, 3}});
    std::string npy = header + std::string(reinterpret_cast<const char*>(sum.data()), sum.size());
    const CapturedRun run = RunCaptured({"run", add, "--input", "x=" + x, "--output", In("y", "结果.npy")});
    EXPECT_EQ(run.exitValue, 0) << run.err;
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(ReadBytes(folder.Path("结果.npy")), std::vector<uint8_t>(npy.begin(), npy.end()));
    // What it wrote it also reads; an older file is replaced.
    folder.Write("y.raw", std::string("old"));
    EXPECT_EQ(RunCaptured({"run", add, "--input", In("0", "结果.npy"), "--output", In("0", "y.raw")}).exitValue, 0);
    EXPECT_EQ(ReadBytes(folder.Path("y.raw")), BytesOf({12, 24, -24}));
    EXPECT_EQ(folder.Names(), (Strings{"add.bin", "add.xml", "x.raw", "y.raw", "结果.npy"}));
}

TEST_F(RunCliTest, WithoutOutputItPrintsASummary) {
    const CapturedRun text = RunCaptured({"run", add, "--input", "0=" + x, "--repeat", "3"});
    EXPECT_EQ(text.exitValue, 0) << text.err;
    EXPECT_THAT(text.out, StartsWith("0  y  float32  [1, 3]  min -27  max 22  mean 2  max at 1\n3 inferences in "));
    const json object = json::parse(RunCaptured({"run", add, "--input", "0=" + x, "--repeat", "3", "--json"}).out);
    EXPECT_EQ(object["outputs"], json::parse(R"([{"index": 0, "name": "y", "element_type": "float32", "shape": [1, 3],
        "minimum": -27.0, "maximum": 22.0, "mean": 2.0, "index_of_maximum": 1, "nan_count": 0}])"));
    EXPECT_EQ(object["repeat"], 3);
    EXPECT_DOUBLE_EQ(object["total_ms"].get<double>(), object["mean_ms"].get<double>() * 3);

    const std::vector<float> special = {INFINITY, -INFINITY, NAN};
    const Strings arguments = {"run", add, "--input", "0=" + folder.Write("special.raw", BytesOf(special))};
    EXPECT_EQ(RunCaptured(arguments).out, "0  y  float32  [1, 3]  min -inf  max inf  mean nan  max at 0  1 NaN\n");
}

TEST_F(RunCliTest, EveryElementTypePassesThroughNpyFiles) {
    const std::vector<std::pair<std::string, DataType>> types = {
        {"f32", DataTypeFloat32}, {"f16", DataTypeFloat16}, {"i32", DataTypeInt32},
        {"u8", DataTypeUInt8},    {"i64", DataTypeInt64},   {"boolean", DataTypeBool},
        {"i16", DataTypeInt16},   {"i8", DataTypeInt8},     {"f64", DataTypeFloat64}};
    for (const auto& [irType, type] : types) {
        const std::string model = EchoModel({{"x", irType, {"2"}}}).WriteTo(folder, "echo");
        std::string data(2 * DataTypeSize(type), '\0');
        data[type == DataTypeBool || type == DataTypeInt32 ? 0 : DataTypeSize(type) - 1] = 1;
        folder.Write("in.npy", NpyHeader({type, {2}}) + data);
        const CapturedRun run = RunCaptured({"run", model, "--input", In("x", "in.npy"), "--output", In("x", "o.npy")});
        EXPECT_EQ(run.exitValue, 0) << irType << run.err;
        EXPECT_EQ(ReadBytes(folder.Path("o.npy")), ReadBytes(folder.Path("in.npy"))) << irType;
    }
}

TEST_F(RunCliTest, WrongUsageExitsWithTwoAndTheUsage) {
    const std::vector<std::pair<Strings, std::string>> cases = {
        {{}, "a command is missing"},
        {{"fly"}, "fly"},
        {{"info"}, "MODEL is missing"},
        {{"info", add, "more"}, "more"},
        {{"info", add, "--make-cache"}, "--make-cache needs --cache"},
        {{"info", add, "--key", ""}, "--key is empty"},
        {{"info", add, "--framework", "5", "--device", "CPU"}, "framework 9 only"},
        {{"info", add, "--framework", "5", "--key", "k"}, "framework 9 only"},
        {{"info", add, "--framework", "nine"}, "nine"},
        {{"run", add, "--input", "x"}, "WHICH=FILE"},
        {{"run", add, "--input", "=x"}, "WHICH=FILE"},
        {{"run", add, "--output", "0="}, "WHICH=FILE"},
        {{"run", add, "--repeat", "0"}, "--repeat"},
        {{"run", add, "--output", In("0", "y"), "--output", In("1", "./y")}, "same file"},
        {{"encrypt", "in", "out"}, "--key"},
        {{"decrypt", "--key", "k", "in"}, "OUT"}};
    for (const auto& [arguments, reason] : cases) {
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 2) << reason;
        EXPECT_THAT(run.err, AllOf(StartsWith("orvane: "), HasSubstr(reason), HasSubstr("\nUsage: orvane ")));
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(RunCaptured({"--version"}).out, std::string("orvane ") + Version() + "\n");
    for (const Strings& arguments : {Strings{"--help"}, Strings{"run", "--help"}}) {
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 0);
        EXPECT_THAT(run.out, HasSubstr("Usage: orvane"));
        EXPECT_EQ(run.err, "");
    }
}

TEST_F(RunCliTest, ALoadThatFailsShowsTheSdksWholeMessageAndWhatToDo) {
    struct Case {
        InterpreterParams params;
        Strings options;
        std::string hint;
    };
    const std::string lone = folder.Write("lone.xml", AddModel({1}).description);
    const std::string picture = folder.Write("picture.png", "\x89PNG\r\n\x1a\n" + std::string(100, 'p'));
    const std::string badCache = folder.Write("bad.cache", std::string("no cache"));
    const auto params = [](const std::string& model, const std::string& device = "", const std::string& cache = "") {
        InterpreterParams made;
        made.framework = FrameworkTypeOpenvino;
        made.modelPath = model;
        made.openvinoDevice = device;
        made.openvinoCachePath = cache;
        return made;
    };
    std::vector<Case> cases = {
        {params(folder.Path("none.onnx")), {}, "The model cannot be read: there is no file"},
        {params(lone), {}, "lone.bin beside the model"},
        {params(picture), {}, "Check MODEL"},
        {params(add, "NPX"), {"--device", "NPX"}, "no device NPX"},
        {params(add, "", badCache), {"--cache", badCache}, "came from the cache file " + badCache},
        {params("", "", folder.Path("no.cache")), {"--cache", folder.Path("no.cache")}, "There is no cache file"},
        {params("", "", folder.Path("")), {"--cache", folder.Path("")}, "The cache cannot be read"}};
    cases.push_back({params(add), {"--framework", "4"}, "Framework 4 is not in this build"});
    cases.back().params.framework = FrameworkTypeCoreML;
    for (const Case& failing : cases) {
        const Status status = Interpreter().Init(failing.params);
        Strings arguments = {"info", failing.params.modelPath};
        arguments.insert(arguments.end(), failing.options.begin(), failing.options.end());
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, AllOf(StartsWith("orvane: " + status.message + "\n"), HasSubstr(failing.hint)));
    }
}

TEST_F(RunCliTest, ARunThatCannotBeSaysWhyAndWritesNothing) {
    const std::string any = EchoModel({{"x", "f32", {"?", "2"}}}).WriteTo(folder, "any");
    const std::string two = EchoModel({{"a", "f32", {"1", "3"}}, {"b", "f32", {"1", "3"}}}).WriteTo(folder, "two");
    const std::string old = folder.Write("old.npy", std::string("old"));
    const std::string wrong = folder.Write("wrong.npy", NpyHeader({DataTypeInt32, {3}}) + std::string(12, '\0'));
    const Strings before = folder.Names();
    const std::string a = "a=" + x;
    const std::string b = "b=" + x;
    const std::vector<std::pair<Strings, Strings>> cases = {
        {{add, "--input", In("0", "add.xml")}, {"bytes of data", "takes 12", "Give exactly"}},
        {{add, "--input", "0=" + wrong}, {"int32 [3]", "float32 [1, 3]"}},
        {{add, "--input", In("0", "old.npy")}, {"not a readable .npy file"}},
        {{add, "--input", In("0", "none.raw")}, {"there is no file"}},
        {{add, "--input", "1=" + x}, {"no input 1", "input 0 \"x\" float32 [1, 3]"}},
        {{add, "--input", "99999999999999999999999=" + x}, {"no input 9"}},
        {{add, "--input", "image=" + x}, {"no input \"image\"", "input 0 \"x\""}},
        {{two, "--input", a}, {"also needs input 1 \"b\""}},
        {{two, "--input", a, "--input", "0=" + x}, {"\"a\" is given twice"}},
        {{two, "--input", a, "--input", b, "--output", In("a", "1"), "--output", In("0", "2")}, {"given twice"}},
        {{two, "--input", a, "--input", b, "--output", "0=" + old, "--output", In("1", "no/2")}, {"no folder for"}},
        {{any, "--input", "0=" + x}, {"[?, 2] has a dynamic dimension"}}};
    for (const auto& [options, reasons] : cases) {
        Strings arguments = {"run"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 1) << reasons[0];
        EXPECT_THAT(run.err, StartsWith("orvane: "));
        for (const std::string& reason : reasons) {
            EXPECT_THAT(run.err, HasSubstr(reason));
        }
        EXPECT_EQ(folder.Names(), before) << reasons[0];
        EXPECT_EQ(ReadBytes(old).size(), 3U);
    }
}

TEST_F(RunCliTest, ACacheStandsInForTheModelUntilItIsDamaged) {
    const std::string cache = folder.Path("缓存");
    const CapturedRun made = RunCaptured({"info", add, "--cache", cache, "--make-cache"});
    ASSERT_EQ(made.exitValue, 0) << made.err;
    const CapturedRun run = RunCaptured({"run", "--cache", cache, "--input", "0=" + x, "--output", In("0", "y.raw")});
    EXPECT_EQ(run.exitValue, 0) << run.err;
    EXPECT_EQ(ReadBytes(folder.Path("y.raw")), sum);

    std::vector<uint8_t> bytes = ReadBytes(cache);
    bytes.resize(bytes.size() / 2);
    folder.Write("缓存", bytes);
    const CapturedRun cut = RunCaptured({"info", add, "--cache", cache, "--make-cache"});
    EXPECT_EQ(cut.exitValue, 1);
    EXPECT_THAT(cut.err, HasSubstr("delete it and make it again"));

    const CapturedRun unwritable = RunCaptured({"info", add, "--cache", folder.Path("no/cache"), "--make-cache"});
    EXPECT_EQ(unwritable.exitValue, 1);
    EXPECT_THAT(unwritable.err, HasSubstr("could not be written"));
}

TEST_F(RunCliTest, AnEncryptedModelRunsWithItsKeyOnly) {
    for (const char* ending : {".xml", ".bin"}) {
        const CapturedRun encrypted =
            RunCaptured({"encrypt", "--pad", "--key", "k3y", folder.Path(std::string("add") + ending),
                         folder.Path(std::string("secret") + ending)});
        ASSERT_EQ(encrypted.exitValue, 0) << encrypted.err;
    }
    const std::string secret = folder.Path("secret.xml");
    const auto run = [&](const std::string& model, const Strings& key) {
        Strings arguments = {"run", model, "--input", "0=" + x, "--output", In("0", "y.raw")};
        arguments.insert(arguments.end(), key.begin(), key.end());
        return RunCaptured(arguments);
    };
    EXPECT_EQ(run(secret, {"--key", "k3y"}).exitValue, 0);
    EXPECT_EQ(ReadBytes(folder.Path("y.raw")), sum);
    const std::vector<std::tuple<std::string, Strings, std::string>> cases = {
        {secret, {"--key", "key"}, "Check --key"},
        {folder.Write("lone.onnx", ReadBytes(secret)), {"--key", "key"}, "Check --key"},
        {secret, {"--key", "k3y45"}, "A key has at most 4 bytes"},
        {secret, {}, "needs --key"},
        {add, {"--key", "k3y"}, "is not encrypted"}};
    for (const auto& [model, key, hint] : cases) {
        const CapturedRun failed = run(model, key);
        EXPECT_EQ(failed.exitValue, 1) << hint;
        EXPECT_THAT(failed.err, HasSubstr(hint));
    }
}

TEST_F(RunCliTest, LogLinesAppearOnlyWhenAskedFor) {
    const Strings failing = {"info", add, "--device", "NPX"};
    EXPECT_THAT(RunCaptured(failing).err, Not(HasSubstr("[ORVANE]")));
    for (const auto& [level, logs] : {std::pair("6", true), std::pair("7", false)}) {
        Strings arguments = failing;
        arguments.insert(arguments.end(), {"--log-level", level});
        EXPECT_EQ(RunCaptured(arguments).err.find("[ORVANE]:error=") == 0, logs);
    }
    // The stream of that run is gone: a line that still went there would be a fault.
    EXPECT_EQ(Log(kLogLevelError, "nobody reads this"), 0);
}

TEST_F(RunCliTest, AResultThatCannotBePrintedIsAFailure) {
    std::ostream closed(nullptr);
    std::ostringstream err;
    EXPECT_EQ(RunCli({"info", add}, closed, err), 1);
    EXPECT_THAT(err.str(), HasSubstr("standard output"));
}

}  // namespace
}  // namespace Orvane::Cli
