#include "backends/openvino/cache_keystream.h"
#include "backends/openvino/decode_input_stream_buf.h"
#include "backends/openvino/decode_output_stream_buf.h"
#include "platform/path.h"
#include "testing/support/keystream.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

std::string Pattern(size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i * 31 + i / 256 + 1);
    }
    return text;
}

std::string Scrambled(std::string text) {
    for (size_t place = 0; place < text.size(); ++place) {
        text[place] = static_cast<char>(text[place] ^ Testing::KeystreamByte(place));
    }
    return text;
}

std::string ReadAll(std::streambuf& source, size_t atMost) {
    std::string text(atMost, '?');
    text.resize(static_cast<size_t>(source.sgetn(text.data(), static_cast<std::streamsize>(atMost))));
    return text;
}

// The streams of the other tests do not use all of these bytes.
TEST(CacheKeystream, HasTheTableOfEarlierBuilds) {
    EXPECT_EQ(kCacheKeystream, Testing::kKeystreamTable);
}

class CacheStream : public testing::Test {
 protected:
    std::filesystem::path Path(const std::string& name) const { return Platform::PathFromUtf8(folder.Path(name)); }

    Testing::TemporaryFolder folder;
};

TEST_F(CacheStream, WritesOnlyFlushedBytes) {
    {
        DecodeOutputStreamBuf buffer(Path("缓存"));
        buffer.sputn("kept", 4);
        EXPECT_EQ(buffer.pubsync(), 4);
        buffer.sputn("lost", 4);
        EXPECT_EQ(buffer.pubseekoff(0, std::ios::beg, std::ios::in), 4)
            << "a read position does not move the write position";
    }
    EXPECT_EQ(Testing::ReadBytes(folder.Path("缓存")), Scrambled("kept"));
}

TEST_F(CacheStream, FailsEveryFlushWithoutAFile) {
    DecodeOutputStreamBuf buffer(Path("missing/缓存"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(buffer.sputn(Pattern(5000).data(), 5000), 4095) << "the next byte needs a flush";
    }
    EXPECT_EQ(buffer.sputn(Pattern(700'000).data(), 700'000), 0) << "larger than the buffer, so it is written directly";
    buffer.sputc('x');
    EXPECT_EQ(buffer.pubsync(), -1);
    buffer.sputc('x');
    EXPECT_EQ(buffer.pubseekpos(0, std::ios::out), std::streampos(-1));
}

// The fuzz target reads and writes at any position. This test is about a read that gets no bytes at the end.
TEST_F(CacheStream, RepeatsOneByteAfterAFullLastBlock) {
    for (const size_t size : {4095U, 4096U, 4097U, 65'536U, 700'000U}) {
        const std::string expected = Pattern(size);
        folder.Write("缓存", Scrambled(expected));
        DecodeInputStreamBuf buffer(Path("缓存"));
        const std::string surplus = size % 4096 == 0 ? expected.substr(size - 4096, 1) : "";
        EXPECT_EQ(ReadAll(buffer, size + 9), expected + surplus);
        EXPECT_EQ(buffer.sgetc(), EOF);
        EXPECT_EQ(buffer.pubseekoff(1, std::ios::beg, std::ios::out), size)
            << "a write position does not move the read position";
    }
}

TEST_F(CacheStream, ReadsOneZeroFromAnEmptyOrMissingFile) {
    folder.Write("empty", "");
    for (const char* name : {"empty", "missing", ""}) {
        DecodeInputStreamBuf byByte(Path(name));
        EXPECT_EQ(byByte.sbumpc(), 0) << name;
        EXPECT_EQ(byByte.sbumpc(), EOF) << name;
        DecodeInputStreamBuf inBulk(Path(name));
        EXPECT_EQ(ReadAll(inBulk, 10'000), std::string(1, '\0')) << name;
    }
}

}  // namespace
}  // namespace Orvane
