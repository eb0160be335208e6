#include "cli/captured_run.h"
#include "testing/support/temporary_folder.h"

#include <orvane/model_file_cipher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Orvane::Cli {
namespace {

using ::testing::HasSubstr;
using Bytes = std::vector<uint8_t>;
using Strings = std::vector<std::string>;

constexpr std::size_t kChunk = ModelFileCipher::kChunkSize;

// Bytes with all values in them, never the same at the same place of neighbouring chunks; they end in a zero, so
// that they are no text.
Bytes Plain(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i + 1 < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 31 + i / 251 + 200);
    }
    return bytes;
}

// Each chunk on its own, under the key "k3y".
Bytes Secret(Bytes bytes) {
    const ModelFileCipher cipher{1, {'k', '3', 'y', 0}};
    for (std::size_t offset = 0; offset < bytes.size(); offset += kChunk) {
        cipher.Encrypt(&bytes[offset], static_cast<uint32_t>(std::min(bytes.size() - offset, kChunk)));
    }
    return bytes;
}

class CipherCommands : public ::testing::Test {
 protected:
    CapturedRun Run(const std::string& command, const Strings& more = {}) {
        Strings arguments = {command, "--key", "k3y", file, file};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunCaptured(arguments);
    }

    Testing::TemporaryFolder folder;
    std::string file = folder.Path("file");  // takes its own place
};

TEST_F(CipherCommands, EveryLengthComesBackOrIsRefusedOrPadded) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{15}, std::size_t{16}, std::size_t{257},
                                   kChunk - 1, kChunk, kChunk + 5, kChunk + 16}) {
        Bytes plain = Plain(size);
        folder.Write("file", plain);
        const std::size_t last = size % kChunk;
        if (last > 0 && last < 16) {
            EXPECT_THAT(Run("encrypt").err, HasSubstr("--pad")) << size;
            EXPECT_TRUE(Testing::ReadBytes(file) == plain) << size;
            plain.resize(size - last + 16);
        }
        EXPECT_EQ(Run("encrypt", {"--pad"}).out.empty(), plain.size() == size) << size;
        EXPECT_TRUE(Testing::ReadBytes(file) == Secret(plain)) << size;
        EXPECT_EQ(Run("decrypt").exitValue, 0) << size;
        EXPECT_TRUE(Testing::ReadBytes(file) == plain) << size;
        EXPECT_EQ(folder.Names(), Strings{"file"}) << size;
    }
}

TEST_F(CipherCommands, TextIsPaddedWithBlanks) {
    folder.Write("file", std::string("<net/>\n"));
    EXPECT_EQ(Run("encrypt", {"--pad"}).out, "appended 9 blanks\n");
    EXPECT_EQ(Run("decrypt").exitValue, 0);
    const Bytes back = Testing::ReadBytes(file);
    EXPECT_EQ(std::string(back.begin(), back.end()), "<net/>\n         ");
}

}  // namespace
}  // namespace Orvane::Cli
