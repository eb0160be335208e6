// Tests the behaviour of OpenVINO's C++ interface that the backend needs, with the interface of this build: the real
// interface or the facade. Also tests the facade's own parts.

#include <openvino/openvino.hpp>

#include "backends/openvino/decode_input_stream_buf.h"
#include "backends/openvino/mingw/private_file.h"
#include "backends/openvino/mingw/stream_content.h"
#include "platform/path.h"
#include "testing/support/processes.h"
#include "testing/support/temporary_folder.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace Orvane {
namespace {

namespace fs = std::filesystem;

std::set<fs::path> PrivateFolders() {
    std::set<fs::path> folders;
    for (const auto& entry : fs::directory_iterator(fs::temp_directory_path())) {
        if (Platform::Utf8FromPath(entry.path().filename()).starts_with("orvane-private")) {
            folders.insert(entry.path());
        }
    }
    return folders;
}

std::string FailureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const ov::Exception& error) {
        return error.what();
    }
    return "no failure";
}

class OpenvinoInterface : public testing::Test {
 protected:
    ov::CompiledModel Compile(const std::string& device) {
        const fs::path path = Platform::PathFromUtf8(Testing::AddModel({10, 20, 30}).WriteTo(folder, "加法"));
        return core.compile_model(core.read_model(path, fs::path()), device, ov::AnyMap{});
    }

    // Other processes may export at the same time, but not for long.
    bool NoNewFolderStays() {
        return Testing::Within(std::chrono::seconds(20), [this] {
            const std::set<fs::path> now = PrivateFolders();
            return std::includes(before.begin(), before.end(), now.begin(), now.end());
        });
    }

    Testing::TemporaryFolder folder;
    std::set<fs::path> before = PrivateFolders();
    ov::Core core = ov::Core("");
};

TEST_F(OpenvinoInterface, ExportsAndImportsAtTheStreamsPosition) {
    ov::CompiledModel model = Compile("CPU");
    std::stringstream afterText;
    std::stringstream alone;
    afterText << "before";
    model.export_model(afterText);
    model.export_model(alone);
    EXPECT_EQ(afterText.str(), "before" + alone.str());
    std::ostream broken(nullptr);
    model.export_model(broken);
    EXPECT_TRUE(broken.bad());
    EXPECT_TRUE(NoNewFolderStays());

    afterText.seekg(6);
    EXPECT_EQ(core.import_model(afterText, "CPU", ov::AnyMap{}).inputs().size(), 1U);
}

TEST_F(OpenvinoInterface, RemovesTheFilesOfAFailedExport) {
    ov::CompiledModel model;
    const std::string failure = FailureOf([&] { model = Compile("MULTI:CPU"); });
    if (failure != "no failure") {
        GTEST_SKIP() << "needs the runtime's plugin for several devices, whose models cannot be exported: " << failure;
    }
    std::ostringstream stream;
    EXPECT_NE(FailureOf([&] { model.export_model(stream); }).find("Not Implemented"), std::string::npos);
    EXPECT_TRUE(NoNewFolderStays());
}

TEST_F(OpenvinoInterface, ReportsTheTextOfEachFailure) {
    const auto expectFailure = [](const std::string& text, const std::function<void()>& call) {
        const std::string failure = FailureOf(call);
        EXPECT_NE(failure.find(text), std::string::npos) << failure;
    };
    uint8_t byte = 0;
    const ov::Tensor noWeights(ov::element::u8, ov::Shape{0}, &byte);
    expectFailure("missing.xml", [&] { core.read_model(fs::path("missing.xml"), fs::path()); });
    expectFailure("Unable to read the model.", [&] { core.read_model(std::string(), noWeights); });
    expectFailure("InferRequest was not initialized.", [] { ov::InferRequest().infer(); });
    expectFailure("CompiledModel was not initialized.", [] { ov::CompiledModel().create_infer_request(); });
    expectFailure("CompiledModel was not initialized.", [] { ov::CompiledModel().inputs(); });
    const std::string refused = FailureOf([] { ov::Tensor(ov::element::u8, {1}, static_cast<void*>(nullptr)); });
    EXPECT_NE(refused, "no failure");
    EXPECT_EQ(refused.find("Unable to read the model."), std::string::npos)
        << "it must not be the text of an earlier failure";
}

TEST(OpenvinoElementType, ReturnsSizesInBytes) {
    const std::vector<size_t> sizes = {0, 1, 2, 2, 4, 8, 1, 1, 2, 4, 8, 1, 1, 1, 1, 1, 1, 2, 4, 8, 1, 1, 1, 32, 1, 1};
    for (size_t number = 0; number < sizes.size(); ++number) {
        EXPECT_EQ(ov::element::Type(static_cast<ov::element::Type_t>(number)).size(), sizes[number]) << number;
    }
}

TEST(PrivateFile, IsPrivateAndRemovedWithItsFolder) {
    fs::path folder;
    {
        const PrivateFile file;
        const PrivateFile other;
        folder = file.Path().parent_path();
        EXPECT_TRUE(PrivateFolders().contains(folder));
        EXPECT_NE(folder, other.Path().parent_path());
        if constexpr (std::is_same_v<fs::path::value_type, char>) {  // systems with wide paths have no such permissions
            EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
        }
        std::ofstream(file.NarrowPath()) << "text";
        EXPECT_EQ(Testing::ReadBytes(Platform::Utf8FromPath(file.Path())), "text");
    }
    EXPECT_FALSE(fs::exists(folder));
}

// Reads only forward and does not know its size.
struct OneWayStreamBuf : std::streambuf {
    explicit OneWayStreamBuf(std::string& text) { setg(text.data(), text.data(), text.data() + text.size()); }
};

TEST(StreamContent, ReadsTheRestOfAStream) {
    const auto read = [](std::streambuf&& source, size_t start = 0) {
        std::istream stream(&source);
        stream.ignore(static_cast<std::streamsize>(start));
        StreamContent content = ReadToEnd(stream);
        return std::string(reinterpret_cast<const char*>(content.bytes.Data()), content.size);
    };
    for (const size_t size : std::vector<size_t>{1, 4095, 4096, 4097, 8192, 70'000}) {
        std::string text(size, '\0');
        std::generate(text.begin(), text.end(), [i = 0]() mutable { return static_cast<char>(i++ % 251); });
        for (const size_t start : {size_t{0}, size / 2}) {
            EXPECT_TRUE(read(std::stringbuf(text), start) == text.substr(start)) << size;
            EXPECT_TRUE(read(OneWayStreamBuf(text), start) == text.substr(start)) << size;
        }
    }
    const auto folder = std::filesystem::temp_directory_path();
    EXPECT_EQ(read(DecodeInputStreamBuf(folder)), std::string(1, '\0')) << "a folder has a size, but no content";
}

}  // namespace
}  // namespace Orvane
