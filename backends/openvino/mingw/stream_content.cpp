#include "backends/openvino/mingw/stream_content.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <utility>

namespace Orvane {

namespace {

// 0 if the stream does not know.
uint64_t BytesLeft(std::istream& stream) {
    const std::istream::pos_type here = stream.tellg();
    if (here == std::istream::pos_type(-1)) {
        return 0;
    }
    const std::istream::pos_type end = stream.seekg(0, std::ios::end).tellg();
    stream.clear();
    stream.seekg(here);
    return end > here ? static_cast<uint64_t>(end - here) : 0;
}

}  // namespace

StreamContent ReadToEnd(std::istream& stream) {
    constexpr uint64_t kStart = 4096;
    const uint64_t expected = BytesLeft(stream);
    // Does not allocate the expected size at once: a folder that was opened as a file can report any size, but has no
    // content.
    StreamContent content{AlignedBuffer::ForOverwrite(expected == 0 ? kStart : std::min(expected, kStart)), 0};
    for (;;) {
        const uint64_t wanted = content.bytes.Size() - content.size;
        stream.read(reinterpret_cast<char*>(content.bytes.Data() + content.size), static_cast<std::streamsize>(wanted));
        const auto count = static_cast<uint64_t>(stream.gcount());
        content.size += count;
        if (count < wanted || content.size == expected) {
            return content;
        }
        AlignedBuffer larger = AlignedBuffer::ForOverwrite(std::max(expected, 2 * content.size));
        std::memcpy(larger.Data(), content.bytes.Data(), content.size);
        content.bytes = std::move(larger);
    }
}

}  // namespace Orvane
