// Compares the cache streams with plain streams after the same operations.
#include "backends/openvino/decode_input_stream_buf.h"
#include "backends/openvino/decode_output_stream_buf.h"
#include "fuzz/fuzz_target.h"
#include "platform/path.h"
#include "testing/support/keystream.h"
#include "testing/support/temporary_folder.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace Orvane {
namespace {

using Fuzz::Input;
using Fuzz::Require;

constexpr std::streamoff kLargestFile = 400'000;
constexpr std::streamoff kMostBytes = 600'000;  // written or read for one input, to limit its time

// Takes a number below `limit` from the input.
std::streamoff TakeBelow(Input& input, std::streamoff limit) {
    return static_cast<std::streamoff>(input.TakeNumber(3)) % limit;
}

// Takes a small number, or one around the sizes of the streams' buffers.
std::streamoff TakeCount(Input& input) {
    const uint32_t number = input.TakeNumber(2);
    return static_cast<std::streamoff>(number < 0xE000 ? number % 9000 : (number - 0xE000) * 34);
}

// The data to write: all its blocks and pieces differ.
const char* Pattern(uint32_t seed) {
    static const std::string text = [] {
        std::string bytes(kLargestFile + 256, '\0');
        for (size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(i * 31 + i / 256);
        }
        return bytes;
    }();
    return text.data() + seed % 256;
}

void Scramble(std::string& text) {
    static const std::string keystream = [] {
        std::string bytes(kLargestFile, '\0');
        for (size_t place = 0; place < bytes.size(); ++place) {
            bytes[place] = static_cast<char>(Testing::KeystreamByte(place));
        }
        return bytes;
    }();
    uint64_t word = 0;
    uint64_t key = 0;
    for (size_t place = 0; place < text.size(); place += sizeof word) {  // in words, to be fast
        const size_t size = std::min(sizeof word, text.size() - place);
        std::memcpy(&word, &text[place], size);
        std::memcpy(&key, &keystream[place], size);
        word ^= key;
        std::memcpy(&text[place], &word, size);
    }
}

// Writes to both until the input has no more steps. Positions stay within the written data: the streams do not define
// what a gap in a file contains.
void Write(Input& input, std::streambuf& scrambled, std::streambuf& plain) {
    std::streamoff size = 0;
    std::streamoff left = kMostBytes;
    for (uint32_t step = input.TakeNumber(1) % 8; step < 6 && !input.IsAtEnd() && left > 0 && size < kLargestFile;
         step = input.TakeNumber(1) % 8) {
        const auto mode = std::ios::out;
        const std::streamoff here = plain.pubseekoff(0, std::ios::cur, mode);
        const char* const data = Pattern(static_cast<uint32_t>(left));
        std::streamoff count = 0;
        std::streamoff there = 0;
        switch (step) {
            case 0:
                count = 1;
                Require(scrambled.sputc(*data) == plain.sputc(*data), "both write a byte");
                break;
            case 1:
                count = std::min(TakeCount(input), kLargestFile - here);
                Require(scrambled.sputn(data, count) == plain.sputn(data, count), "both write all bytes");
                break;
            case 2:
                there = TakeBelow(input, size + 1);
                Require(scrambled.pubseekpos(there, mode) == plain.pubseekpos(there, mode), "both seek to a position");
                break;
            case 3:
                there = TakeBelow(input, size + 1) - here;
                Require(
                    scrambled.pubseekoff(there, std::ios::cur, mode) == plain.pubseekoff(there, std::ios::cur, mode),
                    "both seek from the current position");
                break;
            case 4:
                there = -TakeBelow(input, size + 1);
                Require(
                    scrambled.pubseekoff(there, std::ios::end, mode) == plain.pubseekoff(there, std::ios::end, mode),
                    "both seek from the end");
                break;
            default:
                Require(scrambled.pubsync() >= 0, "the buffered bytes are written");
                break;
        }
        size = std::max(size, here + count);
        left -= count;
    }
    Require(scrambled.pubsync() >= 0, "the last buffered bytes are written");
}

// Reads from both. At the end of the file, reads may return one byte too many, at most once between two seeks.
class Readers {
 public:
    Readers(std::streambuf& ofScrambled, std::streambuf& ofPlain) : scrambled(ofScrambled), plain(ofPlain) {}

    void Peek() { CheckByte(scrambled.sgetc(), plain.sgetc()); }

    void Next() {
        if (CheckByte(scrambled.sbumpc(), plain.sbumpc())) {
            maySurplus = false;
        }
    }

    void Read(std::streamoff count) {
        std::string read(static_cast<size_t>(count), '?');
        std::string expected = read;
        const std::streamsize got = scrambled.sgetn(read.data(), count);
        const std::streamsize there = plain.sgetn(expected.data(), count);
        const bool surplus = got == there + 1 && maySurplus;
        Require(got == there || surplus, "both read the same number of bytes");
        Require(read.compare(0, static_cast<size_t>(there), expected, 0, static_cast<size_t>(there)) == 0,
                "both read the same bytes");
        maySurplus = maySurplus && there == count;
    }

    void Seek(std::streamoff offset, std::ios::seekdir from) {
        Require(scrambled.pubseekoff(offset, from, std::ios::in) == plain.pubseekoff(offset, from, std::ios::in),
                "both seek relative to a position");
        maySurplus = true;
    }

    void SeekTo(std::streamoff place) {
        Require(scrambled.pubseekpos(place, std::ios::in) == plain.pubseekpos(place, std::ios::in),
                "both seek to a position");
        maySurplus = true;
    }

 private:
    // Returns whether the plain stream is at its end.
    bool CheckByte(int byte, int expected) {
        Require(byte == expected || (expected == EOF && maySurplus), "both read the same byte");
        maySurplus = maySurplus && (expected != EOF || byte != EOF);
        return expected == EOF;
    }

    std::streambuf& scrambled;
    std::streambuf& plain;
    bool maySurplus = true;
};

void Read(Input& input, std::streambuf& scrambled, std::streambuf& plain) {
    Readers readers(scrambled, plain);
    const std::streamoff size = plain.pubseekoff(0, std::ios::end, std::ios::in);
    readers.SeekTo(0);
    std::streamoff left = kMostBytes;
    while (!input.IsAtEnd() && left > 0) {
        std::streamoff count = 0;
        switch (input.TakeNumber(1) % 7) {
            case 0:
                readers.Peek();
                break;
            case 1:
                readers.Next();
                break;
            case 2:
                readers.SeekTo(TakeBelow(input, size + 1));
                break;
            case 3:
                readers.Seek(TakeBelow(input, size + 1) - plain.pubseekoff(0, std::ios::cur, std::ios::in),
                             std::ios::cur);
                break;
            case 4:
                readers.Seek(-TakeBelow(input, size + 1), std::ios::end);
                break;
            default:
                count = TakeCount(input);
                readers.Read(count);
                break;
        }
        left -= count;
    }
}

void Check(Input input) {
    static const Testing::TemporaryFolder folder;
    static const std::string name = folder.Path("cache");
    static const std::filesystem::path path = Platform::PathFromUtf8(name);
    std::stringbuf plain;
    {
        DecodeOutputStreamBuf scrambled(path);
        Write(input, scrambled, plain);
    }
    std::string expected = plain.str();
    Scramble(expected);
    Require(Testing::ReadBytes(name) == expected, "the file has the written bytes, each scrambled for its position");

    DecodeInputStreamBuf scrambled(path);
    Read(input, scrambled, plain);
}

}  // namespace
}  // namespace Orvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Orvane::Check({data, size});
    return 0;
}
