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
    const off_type position = source.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
    source.clear();
    source.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    buffered = source.gcount();
    sourceEnded = buffered < static_cast<std::streamsize>(buffer.size());
    ApplyCacheKeystream(static_cast<uint64_t>(position), reinterpret_cast<uint8_t*>(buffer.data()),
                        static_cast<size_t>(buffered));
    // Never an empty get area: the callers of underflow step over the byte that they were given.
    setg(buffer.data(), buffer.data(), buffer.data() + std::max<std::streamsize>(buffered, 1));
    return traits_type::to_int_type(buffer.front());
}

DecodeInputStreamBuf::pos_type DecodeInputStreamBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                                             std::ios_base::openmode mode) {
    std::filebuf& file = *source.rdbuf();
    if ((mode & std::ios::in) == 0) {
        return file.pubseekoff(0, std::ios::cur, std::ios::in);
    }
    if (direction == std::ios::cur) {
        offset -= std::max<off_type>(buffered - (gptr() - eback()), 0);  // the file is ahead by what is still unread
    }
    sourceEnded = false;
    buffered = 0;
    setg(buffer.data(), buffer.data(), buffer.data());
    return file.pubseekoff(offset, direction, std::ios::in);
}

DecodeInputStreamBuf::pos_type DecodeInputStreamBuf::seekpos(pos_type position, std::ios_base::openmode mode) {
    seekoff(off_type(position), std::ios::beg, mode);
    return position;
}

}  // namespace Orvane
