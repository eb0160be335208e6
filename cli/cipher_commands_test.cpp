#include "cli/captured_run.h"
#include "platform/path.h"
#include "testing/temporary_folder.h"

#include <orvane/model_file_cipher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace Orvane::Cli {
namespace {

using ::testing::HasSubstr;
using Testing::ReadBytes;
using Names = std::vector<std::string>;

constexpr std::size_t kChunk = ModelFileCipher::kChunkSize;

// Bytes with all values in them, never the same at the same place of neighbouring chunks.
std::vector<uint8_t> Bytes(std::size_t size) {
    std::vector<uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 31 + i / 251 + 200);
    }
    return bytes;
}

class CipherCommands : public ::testing::Test {
 protected:
    CapturedRun Encrypt(const std::string& in, const std::string& out, const Names& more = {}) {
        Names arguments = {"encrypt", "--key", "k3y", folder.Path(in), folder.Path(out)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunCaptured(arguments);
    }

    CapturedRun Decrypt(const std::string& in, const std::string& out) {
        return RunCaptured({"decrypt", "--key", "k3y", folder.Path(in), folder.Path(out)});
    }

    Testing::TemporaryFolder folder;
};

TEST_F(CipherCommands, EveryLengthComesBackOrIsRefusedOrPadded) {
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, std::size_t{15}, std::size_t{16}, std::size_t{17}, std::size_t{255},
          std::size_t{256}, std::size_t{257}, kChunk - 1, kChunk, kChunk + 5, kChunk + 16}) {
        SCOPED_TRACE(size);
        std::vector<uint8_t> plain = Bytes(size);
        if (size > 0) {
            plain.back() = 0;  // so that it is no text
        }
        folder.Write("plain", plain);
        const std::size_t last = size % kChunk;
        if (last > 0 && last < 16) {
            const CapturedRun refused = Encrypt("plain", "secret");
            EXPECT_EQ(refused.exitValue, 1);
            EXPECT_THAT(refused.err, HasSubstr("--pad"));
            EXPECT_EQ(folder.Names(), Names{"plain"});
            plain.resize(size - last + 16, 0);
        }
        const CapturedRun encrypted = Encrypt("plain", "secret", {"--pad"});
        ASSERT_EQ(encrypted.exitValue, 0) << encrypted.err;
        EXPECT_EQ(encrypted.out.empty(), plain.size() == size);
        ASSERT_EQ(Decrypt("secret", "back").exitValue, 0);
        EXPECT_TRUE(ReadBytes(folder.Path("back")) == plain);
        EXPECT_EQ(ReadBytes(folder.Path("secret")) == plain, size == 0);
        for (const char* name : {"back", "secret"}) {
            std::filesystem::remove(Platform::PathFromUtf8(folder.Path(name)));
        }
    }
}

TEST_F(CipherCommands, ChunksAreEncryptedOneByOneWithTheZeroFilledKey) {
    std::vector<uint8_t> expected = Bytes(kChunk + 100);
    folder.Write("plain", expected);
    ModelFileCipher cipher;
    cipher.key = {'k', '3', 'y', 0};
    cipher.Encrypt(expected.data(), kChunk);
    cipher.Encrypt(expected.data() + kChunk, 100);
    ASSERT_EQ(Encrypt("plain", "secret").exitValue, 0);
    EXPECT_TRUE(ReadBytes(folder.Path("secret")) == expected);
}

TEST_F(CipherCommands, TextIsPaddedWithBlanks) {
    folder.Write("plain", std::string("<net/>\n"));
    const CapturedRun encrypted = Encrypt("plain", "secret", {"--pad"});
    EXPECT_EQ(encrypted.exitValue, 0);
    EXPECT_EQ(encrypted.out, "appended 9 blanks\n");
    ASSERT_EQ(Decrypt("secret", "back").exitValue, 0);
    const std::vector<uint8_t> back = ReadBytes(folder.Path("back"));
    EXPECT_EQ(std::string(back.begin(), back.end()), "<net/>\n         ");
}

TEST_F(CipherCommands, AFileMayTakeItsOwnPlace) {
    folder.Write("file", Bytes(kChunk + 300));
    ASSERT_EQ(Encrypt("file", "file").exitValue, 0);
    EXPECT_FALSE(ReadBytes(folder.Path("file")) == Bytes(kChunk + 300));
    ASSERT_EQ(Decrypt("file", "file").exitValue, 0);
    EXPECT_TRUE(ReadBytes(folder.Path("file")) == Bytes(kChunk + 300));
    EXPECT_EQ(folder.Names(), Names{"file"});
}

TEST_F(CipherCommands, FailuresSayWhyAndLeaveEverythingAsItWas) {
    folder.Write("plain", Bytes(100));
    folder.Write("short", Bytes(3));
    folder.Write("old", std::string("old content"));
    const Names before = folder.Names();
    const auto expectFailure = [&](const CapturedRun& run, const std::string& reason) {
        EXPECT_EQ(run.exitValue, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, ::testing::AllOf(::testing::StartsWith("orvane: "), HasSubstr(reason)));
        EXPECT_EQ(folder.Names(), before);
        EXPECT_EQ(ReadBytes(folder.Path("old")).size(), 11U);
    };
    expectFailure(Encrypt("missing", "old"), "there is no file");
    expectFailure(Encrypt("", "old"), "is a folder");
    expectFailure(Encrypt("plain", ""), "is a folder");
    expectFailure(Encrypt("plain", "no/secret"), "there is no folder for");
    expectFailure(Encrypt("short", "old"), "3 bytes");
    for (const std::string key : {"", "12345"}) {
        const CapturedRun run = RunCaptured({"encrypt", "--key", key, folder.Path("plain"), folder.Path("old")});
        EXPECT_EQ(run.exitValue, 2);
        EXPECT_THAT(run.err, HasSubstr("--key takes 1 to 4 bytes"));
    }
    EXPECT_EQ(folder.Names(), before);
}

}  // namespace
}  // namespace Orvane::Cli
