#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <streambuf>

namespace Orvane {

// Writes the bytes that it is given to a cache file, scrambled for their places in the file. The destructor closes
// the file without writing what is still buffered: flush first.
class DecodeOutputStreamBuf final : public std::streambuf {
 public:
    // Creates the file or empties it. One that cannot be opened fails at the first flush.
    explicit DecodeOutputStreamBuf(const std::filesystem::path& path);

 protected:
    int_type overflow(int_type character) override;

    // Large data does not go through the buffer. Returns how much of it was written when the file takes no more.
    std::streamsize xsputn(const char* data, std::streamsize count) override;

    // Returns the number of bytes written, or -1 when the file takes no more; what was buffered is then lost.
    int sync() override;

    // Write what is buffered, move the file and tell its true position.
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode mode) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override;

 private:
    static constexpr size_t kBlock = 4096;

    // Large data is written in pieces of so many bytes: some systems read a file faster that came in large pieces.
    static constexpr std::streamsize kPiece = 64 * kBlock;

    // Scrambles `count` bytes in place and writes them at the file's position. False when it takes no more.
    bool WriteScrambled(char* data, std::streamsize count);
    void ResetPutArea();

    std::filebuf sink;
    // The last byte is no part of the put area: it is room for the character that overflow is called with.
    std::array<char, kBlock> buffer{};
};

}  // namespace Orvane
