#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <streambuf>

namespace Orvane {

// Scrambles bytes and writes them to a cache file. The destructor closes the file without writing buffered bytes: flush
// first.
class DecodeOutputStreamBuf final : public std::streambuf {
 public:
    // Creates or empties the file. If the file cannot be opened, every flush fails.
    explicit DecodeOutputStreamBuf(const std::filesystem::path& path);

 protected:
    int_type overflow(int_type character) override;

    // Large data bypasses the buffer. If the file takes no more bytes, returns the number of bytes that were written.
    std::streamsize xsputn(const char* data, std::streamsize count) override;

    // Returns the number of bytes written, or -1 if the file takes no more bytes. Buffered bytes are then lost.
    int sync() override;

    // Write the buffered bytes, move the file and return its true position.
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode mode) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override;

 private:
    static constexpr size_t kBlock = 4096;

    // Size in bytes of one piece of large data. Some systems read a file faster if large pieces were written.
    static constexpr std::streamsize kPiece = 64 * kBlock;

    // Scrambles `count` bytes in place and writes them at the file's position. Returns false if the file takes no more.
    bool WriteScrambled(char* data, std::streamsize count);
    void ResetPutArea();

    std::filebuf sink;
    // The last byte is not part of the put area: it has room for the argument of `overflow`.
    std::array<char, kBlock> buffer{};
};

}  // namespace Orvane
