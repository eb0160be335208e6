#include "backends/openvino/decode_input_stream_buf.h"

#include "backends/openvino/cache_keystream.h"

#include <algorithm>

namespace Orvane {

DecodeInputStreamBuf::DecodeInputStreamBuf(const std::filesystem::path& path) {
    source.open(path, std::ios::binary);
}

DecodeInputStreamBuf::int_type DecodeInputStreamBuf::underflow() {
    if (sourceEnded) {
        return traits_type::eof();
    }
    buffered = ReadPlain(buffer.data(), kBlock);
    sourceEnded = buffered < kBlock;
    // The get area is never empty: callers of `underflow` advance past the byte that it returned.
    setg(buffer.data(), buffer.data(), buffer.data() + std::max<std::streamsize>(buffered, 1));
    return traits_type::to_int_type(buffer.front());
}

std::streamsize DecodeInputStreamBuf::xsgetn(char* destination, std::streamsize count) {
    std::streamsize done = std::min<std::streamsize>(count, egptr() - gptr());
    std::copy_n(gptr(), done, destination);
    gbump(static_cast<int>(done));
    for (bool more = !sourceEnded; more && count - done > kBlock;) {
        const std::streamsize wanted = std::min(kPiece, (count - done) / kBlock * kBlock);
        const std::streamsize read = ReadPlain(destination + done, wanted);
        more = read == wanted;
        sourceEnded = read % kBlock != 0;
        DropBuffered();
        if (read > 0) {
            buffer.front() = destination[done + (read - 1) / kBlock * kBlock];  // as after a read through the buffer
        }
        done += read;
    }
    return done + std::streambuf::xsgetn(destination + done, count - done);
}

DecodeInputStreamBuf::pos_type DecodeInputStreamBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                                             std::ios_base::openmode mode) {
    std::filebuf& file = *source.rdbuf();
    if ((mode & std::ios::in) == 0) {
        return file.pubseekoff(0, std::ios::cur, std::ios::in);
    }
    if (direction == std::ios::cur) {
        offset -= std::max<off_type>(buffered - (gptr() - eback()), 0);  // the file is ahead by the unread bytes
    }
    sourceEnded = false;
    DropBuffered();
    return file.pubseekoff(offset, direction, std::ios::in);
}

DecodeInputStreamBuf::pos_type DecodeInputStreamBuf::seekpos(pos_type position, std::ios_base::openmode mode) {
    seekoff(off_type(position), std::ios::beg, mode);
    return position;
}

std::streamsize DecodeInputStreamBuf::ReadPlain(char* destination, std::streamsize count) {
    const off_type position = source.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
    source.clear();
    source.read(destination, count);
    const std::streamsize read = source.gcount();
    ApplyCacheKeystream(static_cast<uint64_t>(position), reinterpret_cast<uint8_t*>(destination),
                        static_cast<size_t>(read));
    return read;
}

void DecodeInputStreamBuf::DropBuffered() {
    buffered = 0;
    setg(buffer.data(), buffer.data(), buffer.data());
}

}  // namespace Orvane
