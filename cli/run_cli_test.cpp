#include "cli/captured_run.h"
#include "cli/files/npy.h"
#include "platform/path.h"
#include "platform/process.h"
#include "testing/support/processes.h"
#include "testing/support/tiny_models.h"

#include <orvane/model_file_cipher.h>
#include <orvane/orvane.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <tuple>

namespace Orvane::Cli {
namespace {

using namespace ::testing;
using nlohmann::json;
using Testing::AddModel;
using Testing::EchoModel;
using Testing::TinyModel;

using RunCliTest = CommandLineTest;

TEST_F(RunCliTest, InfoListsTensorsOfEveryKind) {
    EchoModel({{"图像", "u8", {"1", "2", "3"}}, {"any", "f32", {"?", "4"}}}).WriteTo(folder, "two");
    EXPECT_EQ(Run("info @two.xml").out,
              "input   0  图像   uint8    [1, 2, 3]  6 bytes\n"
              "input   1  any  float32  [?, 4]     ? bytes\n"
              "output  0  图像   uint8    [1, 2, 3]  6 bytes\n"
              "output  1  any  float32  [?, 4]     ? bytes\n");
    const std::string tensors = R"([{"index":0,"name":"图像","element_type":"uint8","shape":[1,2,3],"bytes":6},)"
                                R"({"index":1,"name":"any","element_type":"float32","shape":[-1,4],"bytes":null}])";
    EXPECT_EQ(Run("info --json @two.xml").out, R"({"inputs":)" + tensors + R"(,"outputs":)" + tensors + "}\n");
}

TEST_F(RunCliTest, RunWritesOutputsBitForBit) {
    const CapturedRun run = Run("run @m.xml --input x=@x --output y=@结果.npy");
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(Held("结果.npy"), NpyHeader({orvane::ElementType::Float32, {1, 3}}) + BytesOf({11, 22, -27}));
    // The program reads the file that it wrote, and replaces an older file.
    EXPECT_EQ(Run("run @m.xml --input 0=@结果.npy --output 0=@x").exitValue, 0);
    EXPECT_EQ(Held("x"), BytesOf({12, 24, -24}));
    EXPECT_THAT(folder.Names(), ElementsAre("m.bin", "m.xml", "x", "结果.npy"));
}

TEST_F(RunCliTest, RunPrintsASummaryWithoutOutputFiles) {
    EXPECT_THAT(Run("run @m.xml --input 0=@x --repeat 3").out,
                StartsWith("0  y  float32  [1, 3]  min -27  max 22  mean 2  max at 1\n3 inferences in "));
    EXPECT_THAT(
        Run("run @m.xml --input 0=@x --json").out,
        StartsWith(R"({"outputs":[{"index":0,"name":"y","element_type":"float32","shape":[1,3],"minimum":-27.0,)"
                   R"("maximum":22.0,"mean":2.0,"index_of_maximum":1,"nan_count":0}],"repeat":1,"total_ms":)"));
    folder.Write("x", BytesOf({INFINITY, -INFINITY, NAN}));
    EXPECT_EQ(Run("run @m.xml --input 0=@x").out,
              "0  y  float32  [1, 3]  min -inf  max inf  mean nan  max at 0  1 NaN\n");
}

TEST_F(RunCliTest, ShapeOptionAndReshapeSetShapes) {
    EchoModel({{"x", "f32", {"?", "3"}}, {"n", "f32", {}}}).WriteTo(folder, "any");
    const std::string inputs = " --input x=@x --input n=@n";
    folder.Write("n", BytesOf({7}));
    const CapturedRun refused = Run("run @any.xml" + inputs);
    EXPECT_EQ(refused.exitValue, 1);
    EXPECT_THAT(refused.err, StartsWith("orvane: input 0 \"x\" is [?, 3]: give a size for each ? with --shape x=?,3\n"
                                        "input 1 \"n\" has no dimensions: give it one with --shape n=1\n"
                                        "For example (adjust the sizes):\n"));
    const std::string proposed = " --shape x=1,3 --shape n=1";
    EXPECT_THAT(refused.err, EndsWith(proposed + "\n"));
    const CapturedRun given = Run("run @any.xml" + inputs + proposed);
    const CapturedRun kept = Run("reshape @any.xml @fixed.xml" + proposed);
    if (!ORVANE_WRITES_MODELS) {  // over OpenVINO's C interface
        EXPECT_THAT(given.err, HasSubstr("cannot write a model file"));
        EXPECT_THAT(kept.err, HasSubstr("cannot write a model file"));
        EXPECT_THAT(folder.Names(), Not(Contains(HasSubstr("fixed"))));
        return;
    }
    EXPECT_THAT(given.out, AllOf(HasSubstr("[1, 3]  min -30  max 20"), HasSubstr("[1]     min 7"))) << given.err;
    EXPECT_EQ(kept.out + kept.err, "");
    EXPECT_EQ(Run("run @fixed.xml --remote" + inputs).out, given.out);
    const Testing::TemporaryFolder temporary;
    const std::string usual = Platform::Utf8FromPath(std::filesystem::temp_directory_path());
    Testing::SetTemporaryFolder(temporary.Path(""));
    EXPECT_EQ(Run("run @any.xml --remote" + inputs + proposed).out, given.out);
    EXPECT_THAT(Run("info @any.xml --shape 0=4,3 --shape n=1").out, HasSubstr("[4, 3]  48 bytes"));
    Testing::SetTemporaryFolder(usual);
    EXPECT_THAT(temporary.Names(), IsEmpty());
    // Also from a model with fixed shapes, to the same file; its weights stay the same.
    EXPECT_EQ(Run("reshape @m.xml @m.xml").err, "");
    EXPECT_EQ(Held("m.bin"), BytesOf({1, 2, 3}));
    EXPECT_THAT(folder.Names(),
                ElementsAre("any.bin", "any.xml", "fixed.bin", "fixed.xml", "m.bin", "m.xml", "n", "x"));
}

TEST_F(RunCliTest, DevicesListsTheNamesForTheDeviceOption) {
    const json listed = json::parse(Run("devices --json").out);
    EXPECT_THAT(listed.at("accepted"), Contains("CPU"));
    EXPECT_NE(listed.at("devices").at(0).at("full_name"), "");
    for (const json& name : listed.at("accepted")) {
        EXPECT_EQ(Run("info @m.xml --device " + name.get<std::string>()).exitValue, 0) << name;
    }
    EXPECT_EQ(Run("info @m.xml --device cpu").exitValue, 0);
    EXPECT_THAT(Run("devices").out, HasSubstr("--device takes one of these: "));
}

TEST_F(RunCliTest, ADashIsTheStandardInputOrOutput) {
    const std::string header = NpyHeader({orvane::ElementType::Float32, {1, 3}});
    EXPECT_EQ(Run("run @m.xml --input 0=- --output 0=-", header + Held("x")).out, header + BytesOf({11, 22, -27}));
    EXPECT_EQ(Run("run @m.xml --input 0=-", Held("x")).out, Run("run @m.xml --input 0=@x").out);
    const std::string plain = "<net>more than a piece of the cipher</net>";
    EXPECT_EQ(Run("decrypt --key k3y - -", Run("encrypt --key k3y - -", plain).out).out, plain);
    EXPECT_EQ(json::parse(Run("bench @m.xml --iterations 1 --json -").out).at("model"), model);
    EXPECT_THAT(Run("info -", "<net/>").err, HasSubstr("weights are in another file"));
}

// A program that reads the standard output can end this one at any time, for instance with a signal.
TEST_F(RunCliTest, NoTemporaryFileExistsWhileTheOutputIsWritten) {
    struct Watcher : std::stringbuf {
        std::streamsize xsputn(const char* bytes, std::streamsize size) override {
            names = temporary.Names();
            return std::stringbuf::xsputn(bytes, size);
        }
        const Testing::TemporaryFolder temporary;
        std::vector<std::string> names = {"unknown"};
    } watcher;
    ASSERT_EQ(Run("encrypt --key k3y @m.bin @secret.bin --pad").err,
              "appended 4 bytes, which readers of models ignore\n");
    const std::string usual = Platform::Utf8FromPath(std::filesystem::temp_directory_path());
    Testing::SetTemporaryFolder(watcher.temporary.Path(""));
    std::ostream out(&watcher);
    EXPECT_EQ(RunCli({"decrypt", "--key", "k3y", folder.Path("secret.bin"), "-"}, out, out), 0);
    Testing::SetTemporaryFolder(usual);
    EXPECT_EQ(watcher.str(), Held("m.bin") + std::string(4, '\0'));
    EXPECT_THAT(watcher.names, IsEmpty());
}

TEST_F(RunCliTest, BenchReadsTheKeyOnce) {
    ASSERT_EQ(Run("encrypt --pad --key k3y @m.xml @secret.onnx").exitValue, 0);
    ASSERT_EQ(Run("encrypt --pad --key k3y @m.bin @secret.bin").exitValue, 0);
    const CapturedRun run = Run("bench @secret.onnx --key-file - --remote --iterations 1 --json -", "k3y");
    ASSERT_EQ(run.exitValue, 0) << run.err;
    EXPECT_GT(json::parse(run.out).at("start_up").at("launch_ms"), 0);
}

TEST_F(RunCliTest, RefusesAStaleCache) {
    using std::filesystem::last_write_time;
    const std::filesystem::path file = Platform::PathFromUtf8(model);
    const std::string line = "run @m.xml --cache @c --input 0=@x";
    ASSERT_EQ(Run(line + " --make-cache").err, "");
    const auto made = last_write_time(Platform::PathFromUtf8(folder.Path("c")));
    last_write_time(file, made + std::chrono::seconds(1));
    EXPECT_THAT(Run(line).err, HasSubstr("MODEL is newer\nDelete it and give --make-cache"));
    AddModel({1, 2}).WriteTo(folder, "m");
    last_write_time(file, made);
    EXPECT_THAT(Run(line).err, HasSubstr("its inputs or outputs are not those of MODEL"));
    EXPECT_EQ(Run("run --cache @c --input 0=@x").exitValue, 0) << "without MODEL the cache is not stale";
}

TEST_F(RunCliTest, BenchMeasuresInThisProcessAndInAHostProcess) {
    for (const bool remote : {false, true}) {
        const std::string host = remote ? " --remote" : "";
        const CapturedRun run = Run("bench @m.xml --warmup 3 --iterations 25 --json @结果.json" + host);
        ASSERT_EQ(run.exitValue, 0) << run.err;
        EXPECT_THAT(run.out, HasSubstr("\n25 inferences, "));
        const json result = json::parse(Held("结果.json"));
        EXPECT_EQ(result.at("model"), model);
        EXPECT_EQ(result.at("host"), remote ? json(Platform::ProgramBeside("orvane_host")) : json());
        const json& start = result.at("start_up");
        EXPECT_GT(std::min(start.at("initialisation_ms"), start.at("first_inference_ms")), 0);
        EXPECT_EQ(start.at("launch_ms").is_number(), remote);
        const json& steady = result.at("steady_state");
        EXPECT_EQ((json{steady.at("warmup"), steady.at("iterations"), steady.at("interrupted")}), (json{3, 25, false}));
        EXPECT_GT(std::min(steady.at("compute_ms").at("min"), steady.at("per_second")), 0);
        const json& memory = result.at("memory");
        EXPECT_EQ(memory.at("host").is_null(), !remote);
        const json& program = memory.at(remote ? "host" : "orvane");
        EXPECT_GT(program.at("resident_bytes"), 1'000'000);  // no program here uses less
        EXPECT_GE(program.at("peak_bytes"), program.at("resident_bytes"));
        const json& machine = result.at("machine");
        EXPECT_GT(std::min(machine.at("cores"), machine.at("memory_bytes")), 0);
        EXPECT_NE(machine.at("processor"), "");
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Run("bench @m.xml --seconds 0.2").exitValue, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

// The bytes at the same place of neighbouring chunks differ. Because of the zero at the end, it is not a text.
std::string Plain(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i + 1 < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 + i / 251 + 200);
    }
    return bytes;
}

constexpr size_t kChunk = ModelFileCipher::kChunkSize;

// Encrypts each chunk separately with the key "k3y".
std::string Secret(std::string bytes) {
    for (size_t offset = 0; offset < bytes.size(); offset += kChunk) {
        const auto size = static_cast<uint32_t>(std::min(bytes.size() - offset, kChunk));
        ModelFileCipher{1, {'k', '3', 'y'}}.Encrypt(reinterpret_cast<uint8_t*>(&bytes[offset]), size);
    }
    return bytes;
}

TEST_F(RunCliTest, EncryptRestoresRefusesOrPadsFilesOfEveryLength) {
    const auto zeros = [](size_t count) { return std::string(count, '\0'); };
    folder.Write("key", "k3y\r\n");
    const std::pair<std::string, std::string> plainAndPadding[] = {
        {Plain(0), ""},          {Plain(1), zeros(15)},   {Plain(15), zeros(1)}, {"<net/>\n", "         "},
        {Plain(16), ""},         {Plain(kChunk - 1), ""}, {Plain(kChunk), ""},   {Plain(kChunk + 5), zeros(11)},
        {Plain(kChunk + 16), ""}};
    for (const auto& [plain, padding] : plainAndPadding) {
        folder.Write("f", plain);
        if (!padding.empty()) {
            EXPECT_THAT(Run("encrypt --key k3y @f @f").err, HasSubstr("--pad")) << plain.size();
            EXPECT_TRUE(Held("f") == plain) << plain.size();
        }
        EXPECT_EQ(Run("encrypt --key k3y @f @f --pad").err,
                  padding.empty()
                      ? ""
                      : "appended " + std::to_string(padding.size()) + " bytes, which readers of models ignore\n");
        EXPECT_TRUE(Held("f") == Secret(plain + padding)) << plain.size();
        EXPECT_EQ(Run("decrypt --key-file @key @f @f").err, "") << plain.size();
        EXPECT_TRUE(Held("f") == plain + padding) << plain.size();
    }
    EXPECT_THAT(folder.Names(), ElementsAre("f", "key", "m.bin", "m.xml", "x"));
}

const Refusal kRefusals[] = {
    {2, "", "a command is missing"},
    {2, "inof @m.xml", "there is no command \"inof\"; did you mean info?\nTry: orvane --help"},
    {2, "--fly", "the first argument is a command"},
    {2, "run @m.xml --outptu 0=@y", "no option --outptu; did you mean --output?\nTry: orvane run --help"},
    {2, "run @m.xml @x", "@x\" is one argument too many"},
    {2, "encrypt --pda --key k @x @y", "no option --pda; did you mean --pad?"},
    {2, "completion csh", "only for bash, zsh and fish"},
    {2, "encrypt --key-file - - @y", "only one argument can be -"},
    {2, "run - --input 0=-", "only one argument can be -"},
    {2, "run @m.xml --output 0=- --json", "would all write to the standard output"},
    {2, "info", "MODEL is missing"},
    {2, "info ''", "MODEL: the value is empty"},
    {2, "info @m.xml --device ''", "--device: the value is empty"},
    {2, "info @m.xml --cache -", "--cache needs a file"},
    {1, "info -- -m.xml", "there is no model file -m.xml"},
    {1, "reshape - @out.xml", "the standard input is empty"},
    {2, "info @m.xml --cache ''", "--cache: the value is empty"},
    {2, "info @m.xml --host ''", "--host: the value is empty"},
    {2, "info @m.xml --make-cache", "--make-cache requires --cache"},
    {2, "info @m.xml --remote --host h", "--remote excludes --host"},
    {2, "run @m.xml --input x", "WHICH=FILE"},
    {2, "run @m.xml --output 0=", "WHICH=FILE"},
    {2, "run @m.xml --output 0=@y --output 1=@./y", "same file"},
    {2, "run @m.xml --input 0=@x --output 0=@y.npz", "cannot be written"},
    {2, "run @m.xml --input 0=@x --bgr", "for an --input that is a .png or .jpg picture"},
    {2, "run @m.xml --input 0=@x --labels @x", "--labels requires --top"},
    {2, "run @m.xml --input 0=@x --top 1 --output 0=@y", "--output excludes --top"},
    {2, "run @m.xml --repeat 0", "--repeat: give a whole number from 1 to 4294967295, not 0"},
    {2, "bench @m.xml --iterations 0", "--iterations"},
    {2, "bench @m.xml --iterations 1 --seconds 1", "excludes"},
    {2, "bench @m.xml --warmup -1", "--warmup: give a whole number from 0"},
    {2, "bench @m.xml --seconds 0", "--seconds: give a number from 0.001"},
    {2, "bench @m.xml --warmup 1.5", "not 1.5"},
    {2, "bench @m.xml --warmup 1e3", "--warmup: give a whole number from 0 to 4294967295, not 1e3"},
    {2, "info @m.xml --json=no", "--json takes no value"},
    {2, "bench @m.xml --iterations", "--iterations needs a value"},
    {2, "info @m.xml --device CPU --device GPU", "--device is given twice: give it once"},
    {2, "run @m.xml --mean 1,x", "--mean: give numbers, not x"},
    {2, "bench @m.xml --seconds nan", "--seconds: give a number from 0.001"},
    {2, "bench @m.xml --json ''", "--json: the value is empty"},
    {2, "bench @m.xml --json @y --html @y", "--json and --html name the same file"},
    {2, "bench @m.xml --compare @old", "--compare requires --html"},
    {2, "decrypt --key k '' @y", "IN: the value is empty"},
    {2, "encrypt --key '' @x @y", "--key: the value is empty"},
    {2, "encrypt @x @y", "--key K or --key-file FILE is required"},
    {2, "info @m.xml --remote --timeout 0", "--timeout: give a number from 0.001 to 4000000, not 0"},
    {2, "info @m.xml --timeout 1", "need --remote or --host"},
    {2, "info @m.xml --load-timeout x", "--load-timeout"},
    {1, "encrypt --key 12345 @x @y", "5 bytes: pass 1 to 4"},
    {1, "info @none.onnx", "there is no model file"},
    {1, "info @.xml", "put @.bin beside the model"},
    {1, "info @.xml --remote", "put @.bin beside the model"},
    {2, "info @m.xml --shape x", "--shape takes an input and its dimensions"},
    {2, "info @m.xml --shape x=1,0", "--shape takes an input and its dimensions"},
    {2, "info @m.xml --shape x=1,3, ", "--shape takes an input and its dimensions"},
    {2, "info @m.xml --shape x=1,3 --key k3y", "plain MODEL only"},
    {2, "reshape @m.xml @out", "must end in .xml"},
    {2, "help fly", "there is no command \"fly\""},
    {1, "reshape @none.onnx @out.xml", "there is no model file"},
    {1, "reshape @m.xml @no/out.xml", "there is no folder"},
    {1, "info @any.xml --shape 0=1", "--shape gives 1 dimension\nGive 2."},
    {1, "info @m.xml --shape 0=1,4", "does not take these shapes"},
    {1, "info @x", "OpenVINO reads .xml"},
    {1, "info @", "is not a SavedModel"},
    {1, "reshape @ @out.xml", "Name the file of the model. It holds "},
    {1, "info @cut.xml", "damaged"},
    {1, "info @cut.xml --remote", "damaged"},
    {1, "info @operator.xml", "does not support"},
    {1, "info @m.xml --device AUTO", "means several devices"},
    {1, "info @m.xml --device NPX", "no device NPX"},
    {1, "info @m.xml --cache @x", "came from the cache file @x"},
    {1, "info @m.xml --cache @no/cache --make-cache", "there is no folder for"},
    {1, "info --cache @no.cache", "there is no cache file"},
    {1, "info --cache @", "The cache cannot be read"},
    {1, "info @secret.onnx --key key", "--key must be the key"},
    {1, "info @m.xml --key k3y", "is not encrypted"},
    {1, "run @m.xml --input 0=@short", "holds 11 bytes of data, but input 0 \"x\" takes 12"},
    {1, "run @m.xml --input 0=@long.npy", "13 bytes of data"},
    {1, "run @m.xml --input 0=@cut.npy", "@cut.npy is not a readable .npy file: it ends within"},
    {1, "run @m.xml --input 0=@type.npy", "holds int32 [1, 3], but input 0 \"x\" is float32 [1, 3]"},
    {1, "run @m.xml --input 0=@shape.npy", "holds float32 [3], but"},
    {1, "run @m.xml --input 1=@x", "no input 1\nThe model has these:\n  input 0 \"x\" float32 [1, 3]"},
    {1, "run @m.xml --input 99999999999999999999999=@x", "no input 9"},
    {1, "run @m.xml --input image=@x", "no input \"image\""},
    {1, "run @two.xml --input a=@x", "also needs input 1 \"b\""},
    {1, "run @two.xml --input a=@x --input 0=@x", "\"a\" is given twice"},
    {1, "run @two.xml --input a=@x --input b=@x --output 0=@old --output 1=@no/2", "no folder for"},
    {1, "bench @any.xml", "orvane bench \"@any.xml\" --shape x=1,2\n"},
    {1, "bench @m.xml --html @no/page", "no folder for"},
    {1, "bench @m.xml --html @old --compare @none", "there is no file"},
    {1, "bench @m.xml --html @old --compare @x", "@x has no result of this version of orvane: it is not a JSON object"},
    {1, "bench @m.xml --html @old --compare @half.json", "it has no string /version"},
    {1, "encrypt --key k @ @old", "is a folder"},
};

TEST_F(RunCliTest, FailuresHaveAReasonAndWriteNothing) {
    const std::string npy = NpyHeader({orvane::ElementType::Float32, {1, 3}}) + std::string(12, 'd');
    folder.Write("long.npy", npy + "d");
    folder.Write("cut.npy", npy.substr(0, 50));
    folder.Write("type.npy", NpyHeader({orvane::ElementType::Int32, {1, 3}}));
    folder.Write("shape.npy", NpyHeader({orvane::ElementType::Float32, {3}}));
    folder.Write("short", std::string(11, 'd'));
    folder.Write("old", "old");
    folder.Write("half.json", R"({"model": "m", "host": null})");
    folder.Write(".xml", AddModel({1}).description);
    TinyModel changed = AddModel({1, 2});
    changed.description.replace(changed.description.find("\"Add\""), 5, "\"Adx\"");
    changed.WriteTo(folder, "operator");
    folder.Write("cut.xml", Held("m.xml"));
    folder.Write("cut.bin", "cut");
    EchoModel({{"x", "f32", {"?", "2"}}}).WriteTo(folder, "any");
    EchoModel({{"a", "f32", {"1", "3"}}, {"b", "f32", {"1", "3"}}}).WriteTo(folder, "two");
    ASSERT_EQ(Run("encrypt --pad --key k3y @m.xml @secret.onnx").exitValue, 0);
    ASSERT_EQ(Run("encrypt --pad --key k3y @m.bin @secret.bin").exitValue, 0);
    EXPECT_EQ(Run("run @secret.onnx --key k3y --input 0=@x").out, Run("run @m.xml --input 0=@x").out);
    ExpectRefusals(kRefusals);
    EXPECT_EQ(Held("old"), "old");
    EXPECT_THAT(RunCaptured({"info", model, "--host", Platform::ProgramBeside("orvane")}).err,
                HasSubstr(" ended before the model was loaded"));
}

TEST_F(RunCliTest, LogLinesHaveTheWholeMessage) {
    const std::string err = Run("info --log-level 6 @x").err;
    const std::string before = "[ORVANE]:error=";
    const std::string message = err.substr(before.size(), err.find(", status=-1\n") - before.size());
    EXPECT_THAT(message, HasSubstr("\n")) << "the runtime's message has several lines";
    const std::string shown = message.substr(0, message.find_last_not_of(" \n") + 1);
    EXPECT_THAT(err, AllOf(StartsWith(before), HasSubstr(" (" + shown + ")\n")));
    EXPECT_THAT(Run("info --log-level 7 @x").err, StartsWith("orvane: "));
}

TEST_F(RunCliTest, ResultsGoToTheStandardOutput) {
    EXPECT_EQ(Run("--version").out, std::string("orvane ") + orvane_version() + "\n");
    const json tables = json::parse(Run("help --json").out);
    EXPECT_TRUE(tables.contains("bench"));
    for (const auto& [command, table] : tables.items()) {
        const std::string help = Run("help " + command).out;
        EXPECT_EQ(Run(command + " --help").out, help);
        EXPECT_THAT(help, HasSubstr("\nexample: ")) << command;
        std::istringstream lines(help);
        for (std::string text; std::getline(lines, text);) {
            EXPECT_LE(text.size(), 80U) << text;
        }
    }
    std::ostream closed(nullptr);
    std::ostringstream err;
    EXPECT_EQ(RunCli({"info", model}, closed, err), 1);
    EXPECT_THAT(err.str(), HasSubstr("standard output"));
}

}  // namespace
}  // namespace Orvane::Cli
