#include "cli/captured_run.h"
#include "cli/npy.h"
#include "testing/support/tiny_models.h"

#include <orvane/log.h>
#include <orvane/version.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace Orvane::Cli {
namespace {

using namespace ::testing;
using Testing::AddModel;
using Testing::EchoModel;
using Strings = std::vector<std::string>;

std::string BytesOf(const std::vector<float>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float)};
}

std::string TextOf(const std::string& path) {
    const std::vector<uint8_t> bytes = Testing::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

class RunCliTest : public Test {
 protected:
    std::string In(const std::string& which, const std::string& name) { return which + "=" + folder.Path(name); }

    Testing::TemporaryFolder folder;
    std::string add = AddModel({1, 2, 3}).WriteTo(folder, "add");
    std::string x = folder.Write("x.raw", BytesOf({10, 20, -30}));
};

TEST_F(RunCliTest, InfoListsTensorsOfEveryKind) {
    const std::string model =
        EchoModel({{"图像", "u8", {"1", "2", "3"}}, {"any", "f32", {"?", "4"}}}).WriteTo(folder, "two");
    EXPECT_EQ(RunCaptured({"info", model}).out,
              "input   0  图像   uint8    [1, 2, 3]  6 bytes\n"
              "input   1  any  float32  [?, 4]     ? bytes\n"
              "output  0  图像   uint8    [1, 2, 3]  6 bytes\n"
              "output  1  any  float32  [?, 4]     ? bytes\n");
    const std::string tensors = R"([{"index":0,"name":"图像","element_type":"uint8","shape":[1,2,3],"bytes":6},)"
                                R"({"index":1,"name":"any","element_type":"float32","shape":[-1,4],"bytes":null}])";
    EXPECT_EQ(RunCaptured({"info", "--json", model}).out,
              R"({"inputs":)" + tensors + R"(,"outputs":)" + tensors + "}\n");
}

TEST_F(RunCliTest, OutputsAreWrittenBitForBit) {
    const CapturedRun run = RunCaptured({"run", add, "--input", "x=" + x, "--output", In("y", "结果.npy")});
    EXPECT_EQ(run.exitValue, 0);
    EXPECT_EQ(run.out + run.err, "");
    const std::string npy = NpyHeader({DataTypeFloat32, {1, 3}}) + BytesOf({11, 22, -27});
    EXPECT_EQ(TextOf(folder.Path("结果.npy")), npy);
    // What it wrote it also reads; an older file is replaced.
    EXPECT_EQ(RunCaptured({"run", add, "--input", In("0", "结果.npy"), "--output", "0=" + x}).exitValue, 0);
    EXPECT_EQ(TextOf(x), BytesOf({12, 24, -24}));
    EXPECT_EQ(folder.Names(), (Strings{"add.bin", "add.xml", "x.raw", "结果.npy"}));
}

TEST_F(RunCliTest, WithoutOutputItPrintsASummary) {
    EXPECT_THAT(RunCaptured({"run", add, "--input", "0=" + x, "--repeat", "3"}).out,
                StartsWith("0  y  float32  [1, 3]  min -27  max 22  mean 2  max at 1\n3 inferences in "));
    EXPECT_THAT(
        RunCaptured({"run", add, "--input", "0=" + x, "--json"}).out,
        StartsWith(R"({"outputs":[{"index":0,"name":"y","element_type":"float32","shape":[1,3],"minimum":-27.0,)"
                   R"("maximum":22.0,"mean":2.0,"index_of_maximum":1,"nan_count":0}],"repeat":1,"total_ms":)"));
    folder.Write("x.raw", BytesOf({INFINITY, -INFINITY, NAN}));
    EXPECT_EQ(RunCaptured({"run", add, "--input", "0=" + x}).out,
              "0  y  float32  [1, 3]  min -inf  max inf  mean nan  max at 0  1 NaN\n");
}

TEST_F(RunCliTest, WrongUsageExitsWithTwoAndTheUsage) {
    const std::vector<std::pair<Strings, std::string>> cases = {
        {{}, "a command is missing"},
        {{"fly"}, "fly"},
        {{"info"}, "MODEL is missing"},
        {{"info", add, "--make-cache"}, "--make-cache needs --cache"},
        {{"info", add, "--key", ""}, "--key is empty"},
        {{"info", add, "--remote", "--host", "h"}, "exclude each other"},
        {{"info", add, "--framework", "5", "--device", "CPU"}, "framework 9 only"},
        {{"info", add, "--framework", "nine"}, "nine"},
        {{"run", add, "--input", "x"}, "WHICH=FILE"},
        {{"run", add, "--output", "0="}, "WHICH=FILE"},
        {{"run", add, "--repeat", "0"}, "--repeat"},
        {{"bench"}, "MODEL is missing"},
        {{"bench", add, "--iterations", "0"}, "--iterations"},
        {{"bench", add, "--iterations", "1", "--seconds", "1"}, "excludes"},
        {{"bench", add, "--warmup", "-1"}, "--warmup"},
        {{"bench", add, "--seconds", "0"}, "--seconds takes a number above 0"},
        {{"bench", add, "--seconds", "nan"}, "--seconds takes a number above 0"},
        {{"bench", add, "--json", ""}, "--json is empty"},
        {{"run", add, "--output", In("0", "y"), "--output", In("1", "./y")}, "same file"},
        {{"decrypt", "--key", "k", "in"}, "OUT"},
        {{"encrypt", "--key", "", add, x}, "--key takes 1 to 4 bytes"},
        {{"encrypt", "--key", "12345", add, x}, "--key takes 1 to 4 bytes"}};
    for (const auto& [arguments, reason] : cases) {
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 2) << reason;
        EXPECT_THAT(run.err, AllOf(StartsWith("orvane: "), HasSubstr(reason), HasSubstr("\nUsage: orvane ")));
    }
    EXPECT_EQ(RunCaptured({"--version"}).out, std::string("orvane ") + Version() + "\n");
    const CapturedRun help = RunCaptured({"run", "--help"});
    EXPECT_EQ(help.exitValue, 0);
    EXPECT_THAT(help.out, HasSubstr("Usage: orvane run"));
}

TEST_F(RunCliTest, ALoadThatFailsShowsTheSdksWholeMessageAndWhatToDo) {
    const std::string lone = folder.Write("lone.xml", AddModel({1}).description);
    const std::string picture = folder.Write("picture.png", "\x89PNG\r\n\x1a\n" + std::string(100, 'p'));
    const std::string cache = folder.Write("cache", std::string("no cache"));
    const std::string secret = folder.Path("secret.onnx");
    ASSERT_EQ(RunCaptured({"encrypt", "--pad", "--key", "k3y", add, secret}).exitValue, 0);
    const std::vector<std::pair<Strings, std::string>> cases = {
        {{folder.Path("none.onnx")}, "The model cannot be read: there is no file"},
        {{lone}, "lone.bin beside the model"},
        {{picture}, "Check MODEL"},
        {{add, "--framework", "4"}, "Framework 4 is not in this build"},
        {{add, "--device", "NPX"}, "no device NPX"},
        {{add, "--cache", cache}, "came from the cache file " + cache},
        {{"--cache", folder.Path("no.cache")}, "There is no cache file"},
        {{"--cache", folder.Path("")}, "The cache cannot be read"},
        {{secret, "--key", "key"}, "Check --key"},
        {{add, "--key", "k3y"}, "is not encrypted"},
        {{add, "--key", "k3y45"}, "A key has at most 4 bytes"}};
    for (auto [arguments, hint] : cases) {
        arguments.insert(arguments.begin(), {"info", "--log-level", "6"});
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 1) << hint;
        // The message first stands in the log, between these.
        const std::string before = "[ORVANE]:error=";
        const std::string message = run.err.substr(before.size(), run.err.find(", status=-1\n") - before.size());
        EXPECT_THAT(run.err, AllOf(StartsWith(before), HasSubstr("\norvane: " + message + "\n"), HasSubstr(hint)));
    }
    EXPECT_THAT(RunCaptured({"info", add, "--host", folder.Path("host")}).err,
                AllOf(StartsWith("orvane: CreateProcessAsUser error\n"), HasSubstr("host cannot be started: ")));
    EXPECT_THAT(RunCaptured({"info", picture, "--log-level", "7"}).err, StartsWith("orvane: "));
    EXPECT_THAT(RunCaptured({"info", picture}).err, StartsWith("orvane: ")) << "no log lines unless asked for";
    EXPECT_EQ(Log(kLogLevelError, "nobody reads this"), 0) << "the stream of the last run is gone";
}

TEST_F(RunCliTest, WhatCannotBeDoneSaysWhyAndWritesNothing) {
    const std::string any = EchoModel({{"x", "f32", {"?", "2"}}}).WriteTo(folder, "any");
    const std::string two = EchoModel({{"a", "f32", {"1", "3"}}, {"b", "f32", {"1", "3"}}}).WriteTo(folder, "two");
    const std::string npy = NpyHeader({DataTypeFloat32, {1, 3}}) + std::string(12, 'd');
    folder.Write("long.npy", npy + "d");
    folder.Write("cut.npy", npy.substr(0, 50));
    folder.Write("type.npy", NpyHeader({DataTypeInt32, {1, 3}}) + std::string(12, 'd'));
    folder.Write("shape.npy", NpyHeader({DataTypeFloat32, {3}}) + std::string(12, 'd'));
    const std::string shorter = folder.Write("short", std::string(11, 'd'));
    const std::string old = folder.Write("old", std::string("old"));
    const Strings before = folder.Names();
    const std::vector<std::pair<Strings, std::string>> cases = {
        {{"run", add, "--input", "0=" + shorter}, "holds 11 bytes of data, but input 0 \"x\" takes 12"},
        {{"run", add, "--input", In("0", "long.npy")}, "13 bytes of data"},
        {{"run", add, "--input", In("0", "cut.npy")}, "cut.npy is not a readable .npy file"},
        {{"run", add, "--input", In("0", "type.npy")}, "holds int32 [1, 3], but input 0 \"x\" is float32 [1, 3]"},
        {{"run", add, "--input", In("0", "shape.npy")}, "holds float32 [3], but"},
        {{"run", add, "--input", In("0", "none.raw")}, "there is no file"},
        {{"run", add, "--input", "1=" + x}, "no input 1\nThe model has these:\n  input 0 \"x\" float32 [1, 3]"},
        {{"run", add, "--input", "99999999999999999999999=" + x}, "no input 9"},
        {{"run", add, "--input", "image=" + x}, "no input \"image\""},
        {{"run", two, "--input", "a=" + x}, "also needs input 1 \"b\""},
        {{"run", two, "--input", "a=" + x, "--input", "0=" + x}, "\"a\" is given twice"},
        {{"run", any, "--input", "0=" + x}, "[?, 2] has a dynamic dimension"},
        {{"run", two, "--input", "a=" + x, "--input", "b=" + x, "--output", "0=" + old, "--output", In("1", "no/2")},
         "no folder for"},
        {{"bench", any}, "input 0 \"x\" cannot be filled: its shape [?, 2] has a dynamic dimension"},
        {{"bench", add, "--json", folder.Path("no/json")}, "no folder for"},
        {{"bench", add, "--json", folder.Path("")}, "is a folder"},
        {{"bench", folder.Path("none"), "--json", old}, "there is no file"},
        {{"info", add, "--cache", folder.Path("no/cache"), "--make-cache"}, "could not be written"},
        {{"encrypt", "--key", "k", folder.Path("missing"), old}, "there is no file"},
        {{"encrypt", "--key", "k", folder.Path(""), old}, "is a folder"},
        {{"encrypt", "--key", "k", old, folder.Path("")}, "is a folder"},
        {{"encrypt", "--key", "k", shorter, old}, "only 11 bytes"}};
    for (const auto& [arguments, reason] : cases) {
        const CapturedRun run = RunCaptured(arguments);
        EXPECT_EQ(run.exitValue, 1) << reason;
        EXPECT_THAT(run.err, AllOf(StartsWith("orvane: "), HasSubstr(reason)));
        EXPECT_EQ(folder.Names(), before) << reason;
        EXPECT_EQ(TextOf(old), "old") << reason;
    }
}

TEST_F(RunCliTest, AResultThatCannotBePrintedIsAFailure) {
    std::ostream closed(nullptr);
    std::ostringstream err;
    EXPECT_EQ(RunCli({"info", add}, closed, err), 1);
    EXPECT_THAT(err.str(), HasSubstr("standard output"));
}

}  // namespace
}  // namespace Orvane::Cli
