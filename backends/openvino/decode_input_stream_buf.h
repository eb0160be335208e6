#pragma once

#include <array>
#include <filesystem>
#include <fstream>
#include <streambuf>

namespace Orvane {

// Reads a scrambled cache file as the plain bytes that were written to it. A file that cannot be opened reads like
// an empty one.
class DecodeInputStreamBuf final : public std::streambuf {
 public:
    explicit DecodeInputStreamBuf(const std::filesystem::path& path);

 protected:
    // A read of nothing, at the end of the file, still delivers the buffer's first byte once; only the next call
    // reports the end. Deliberate, and harmless to the runtime, which knows how much it wants to read.
    int_type underflow() override;

    // What is not in the buffer yet goes, but for its last block, straight to its destination.
    std::streamsize xsgetn(char* destination, std::streamsize count) override;

    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode mode) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override;

 private:
    static constexpr std::streamsize kBlock = 4096;

    // Large reads are made in pieces of so many bytes, which the processor's cache still holds when the keystream is
    // applied to them.
    static constexpr std::streamsize kPiece = 64 * kBlock;

    // Reads up to `count` bytes at the file's position and brings them back; returns their number.
    std::streamsize ReadPlain(char* destination, std::streamsize count);
    void DropBuffered();

    std::ifstream source;
    bool sourceEnded = false;
    std::streamsize buffered = 0;  // bytes of the file in `buffer`
    std::array<char, kBlock> buffer{};
};

}  // namespace Orvane
