#include "backends/openvino/decode_output_stream_buf.h"

#include "backends/openvino/cache_keystream.h"

#include <algorithm>
#include <cstdint>
#include <memory>

namespace Orvane {

DecodeOutputStreamBuf::DecodeOutputStreamBuf(const std::filesystem::path& path) {
    sink.open(path, std::ios::out | std::ios::binary);
    ResetPutArea();
}

DecodeOutputStreamBuf::int_type DecodeOutputStreamBuf::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(character);
        pbump(1);
    }
    return sync() == -1 ? traits_type::eof() : traits_type::not_eof(character);
}

std::streamsize DecodeOutputStreamBuf::xsputn(const char* data, std::streamsize count) {
    if (count < kPiece) {
        return std::streambuf::xsputn(data, count);
    }
    if (sync() == -1) {
        return 0;
    }
    const auto piece = std::make_unique_for_overwrite<char[]>(kPiece);
    std::streamsize done = 0;
    for (bool written = true; written && done < count;) {
        const std::streamsize size = std::min(kPiece, count - done);
        std::copy_n(data + done, size, piece.get());
        written = WriteScrambled(piece.get(), size);
        done += written ? size : 0;
    }
    return done;
}

int DecodeOutputStreamBuf::sync() {
    const auto count = static_cast<std::streamsize>(pptr() - pbase());
    ResetPutArea();
    return WriteScrambled(buffer.data(), count) ? static_cast<int>(count) : -1;
}

DecodeOutputStreamBuf::pos_type DecodeOutputStreamBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                                               std::ios_base::openmode mode) {
    if ((mode & std::ios::out) == 0) {
        return sink.pubseekoff(0, std::ios::cur, std::ios::out);
    }
    return sync() == -1 ? pos_type(off_type(-1)) : sink.pubseekoff(offset, direction, std::ios::out);
}

DecodeOutputStreamBuf::pos_type DecodeOutputStreamBuf::seekpos(pos_type position, std::ios_base::openmode mode) {
    return seekoff(off_type(position), std::ios::beg, mode);
}

bool DecodeOutputStreamBuf::WriteScrambled(char* data, std::streamsize count) {
    const off_type position = sink.pubseekoff(0, std::ios::cur, std::ios::out);
    ApplyCacheKeystream(static_cast<uint64_t>(position), reinterpret_cast<uint8_t*>(data), static_cast<size_t>(count));
    for (std::streamsize written = 0; written < count;) {
        const std::streamsize step = sink.sputn(data + written, count - written);
        if (step < 1) {
            return false;
        }
        written += step;
    }
    return true;
}

void DecodeOutputStreamBuf::ResetPutArea() {
    setp(buffer.data(), buffer.data() + buffer.size() - 1);
}

}  // namespace Orvane
