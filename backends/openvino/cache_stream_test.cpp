#include "backends/openvino/cache_keystream.h"
#include "backends/openvino/decode_input_stream_buf.h"
#include "backends/openvino/decode_output_stream_buf.h"
#include "platform/path.h"
#include "testing/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace Orvane {
namespace {

std::string Pattern(size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i * 31 + i / 256 + 1);
    }
    return text;
}

// The keystream one byte after the other, as the format defines it.
std::string Scrambled(std::string text) {
    for (size_t q = 0; q < text.size(); ++q) {
        const auto i = static_cast<uint32_t>(q <= 32767 ? q : q % 32767);
        text[q] = static_cast<char>(text[q] ^ kCacheKeystream[(i * i + 27) % 256]);
    }
    return text;
}

std::string FileText(const std::string& path) {
    const std::vector<uint8_t> bytes = Testing::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

class CacheStream : public testing::Test {
 protected:
    std::filesystem::path File() const { return Platform::PathFromUtf8(path); }

    Testing::TemporaryFolder folder;
    std::string path = folder.Path("缓存.blob");
};

TEST(CacheKeystream, FollowsThePositionFromAnyStart) {
    const std::string expected = Scrambled(std::string(100'000, '\0'));
    for (const size_t start : std::vector<size_t>{0, 1, 127, 128, 5000, 32766, 32767, 32768, 65533, 65534, 98300}) {
        std::string bytes(expected.size() - start, '\0');
        ApplyCacheKeystream(start, reinterpret_cast<uint8_t*>(bytes.data()), bytes.size());
        EXPECT_EQ(bytes, expected.substr(start)) << start;
    }
}

TEST_F(CacheStream, WritesScrambledForEachBytesOwnPlace) {
    std::string expected = Pattern(70'000);
    {
        DecodeOutputStreamBuf buffer(File());
        std::ostream stream(&buffer);
        for (size_t offset = 0, piece = 1; offset < expected.size(); offset += piece, piece = piece * 3 % 5003 + 1) {
            stream << expected.substr(offset, piece);
            ASSERT_EQ(stream.tellp(), std::streamoff(std::min(offset + piece, expected.size())));
        }
        // An exporter comes back to fill in its header, and goes on at the end.
        stream.seekp(100);
        stream << "header";
        EXPECT_EQ(stream.tellp(), 106);
        stream.seekp(-6, std::ios::cur) << "HEAD";
        stream.seekp(0, std::ios::end) << "tail";
        EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur, std::ios::in), 70'000) << "not a place to write at";
        EXPECT_EQ(buffer.pubsync(), 4);
        EXPECT_EQ(buffer.pubsync(), 0);
        stream << "never flushed";
    }
    expected.replace(100, 6, "HEADer");
    EXPECT_EQ(FileText(path), Scrambled(expected + "tail"));
}

TEST_F(CacheStream, AFileThatTakesNothingFailsEveryFlush) {
    DecodeOutputStreamBuf buffer(Platform::PathFromUtf8(folder.Path("missing/缓存.blob")));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(buffer.sputn(Pattern(5000).data(), 5000), 4095) << "all but the byte that needs a flush";
    }
    buffer.sputc('x');
    EXPECT_EQ(buffer.pubsync(), -1);
    buffer.sputc('x');
    EXPECT_EQ(buffer.pubseekpos(0, std::ios::out), std::streambuf::pos_type(std::streamoff(-1)));
    EXPECT_TRUE(folder.Names().empty());
}

TEST_F(CacheStream, ReadsBackByteByByteAndInBulk) {
    for (const size_t size : std::vector<size_t>{1, 4095, 4096, 4097, 8192, 70'000}) {
        const std::string expected = Pattern(size);
        folder.Write("缓存.blob", Scrambled(expected));
        // A read of nothing still delivers the first byte of the last block once.
        const std::string surplus = size % 4096 == 0 ? expected.substr(size - 4096, 1) : "";

        DecodeInputStreamBuf byByte(File());
        std::string read;
        for (int c = byByte.sbumpc(); c != EOF && read.size() < size + 9; c = byByte.sbumpc()) {
            read += static_cast<char>(c);
        }
        EXPECT_EQ(read, expected + surplus);

        DecodeInputStreamBuf inBulk(File());
        read.assign(size + 9, '?');
        EXPECT_EQ(inBulk.sgetn(read.data(), static_cast<std::streamsize>(read.size())),
                  static_cast<std::streamsize>(size + surplus.size()));
        EXPECT_EQ(read.substr(0, size + surplus.size()), expected + surplus);
        EXPECT_EQ(inBulk.sgetc(), EOF);

        // Back from behind the end, and again.
        std::istream stream(&inBulk);
        const auto middle = static_cast<std::streamoff>(size / 2);
        stream.seekg(0).ignore(middle);
        EXPECT_EQ(stream.tellg(), middle) << "in the middle of a block";
        stream.seekg(-middle, std::ios::cur).seekg(middle, std::ios::cur);
        read.resize(size - size / 2);
        stream.read(read.data(), static_cast<std::streamsize>(read.size()));
        EXPECT_EQ(read, expected.substr(size / 2));
        stream.seekg(0, std::ios::end);
        EXPECT_EQ(stream.tellg(), static_cast<std::streamoff>(size));
        EXPECT_EQ(inBulk.pubseekoff(1, std::ios::beg, std::ios::out), static_cast<std::streamoff>(size))
            << "not a place to read at";
        EXPECT_EQ(stream.seekg(0).get(), std::char_traits<char>::to_int_type(expected.front()));
    }
}

TEST_F(CacheStream, AnEmptyOrUnopenableFileDeliversOneZeroAndEnds) {
    folder.Write("缓存.blob", "");
    for (const std::string& name : {path, folder.Path("missing"), folder.Path("")}) {
        DecodeInputStreamBuf byByte(Platform::PathFromUtf8(name));
        EXPECT_EQ(byByte.sbumpc(), 0) << name;
        EXPECT_EQ(byByte.sbumpc(), EOF) << name;
        DecodeInputStreamBuf inBulk(Platform::PathFromUtf8(name));
        char bytes[10] = "untouched";
        EXPECT_EQ(inBulk.sgetn(bytes, 10), 1) << name;
        EXPECT_EQ(std::string(bytes, 10), std::string("\0ntouched\0", 10)) << name;
    }
}

}  // namespace
}  // namespace Orvane
