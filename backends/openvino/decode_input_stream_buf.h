#pragma once

#include <array>
#include <filesystem>
#include <fstream>
#include <streambuf>

namespace Orvane {

// Reads a scrambled cache file and returns the plain bytes. A file that cannot be opened reads like an empty file.
class DecodeInputStreamBuf final : public std::streambuf {
 public:
    explicit DecodeInputStreamBuf(const std::filesystem::path& path);

 protected:
    // At the end of the file, a read that gets no bytes still returns the buffer's first byte once; the next call
    // returns the end. This is deliberate, and harmless: the runtime knows how many bytes it wants.
    int_type underflow() override;

    // Reads bytes that are not in the buffer directly to `destination`, except for the last block.
    std::streamsize xsgetn(char* destination, std::streamsize count) override;

    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode mode) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override;

 private:
    static constexpr std::streamsize kBlock = 4096;

    // Size in bytes of one piece of a large read. The processor's cache still holds a piece when the keystream is
    // applied.
    static constexpr std::streamsize kPiece = 64 * kBlock;

    // Reads up to `count` bytes at the file's position and restores the plain bytes. Returns their number.
    std::streamsize ReadPlain(char* destination, std::streamsize count);
    void DropBuffered();

    std::ifstream source;
    bool sourceEnded = false;
    std::streamsize buffered = 0;  // bytes of the file in `buffer`
    std::array<char, kBlock> buffer{};
};

}  // namespace Orvane
