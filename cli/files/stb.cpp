#include "cli/files/picture.h"

#include "cli/failure.h"

#include <limits>
#include <memory>
#include <new>

#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#include <stb_image.h>
#include <stb_image_resize.h>

namespace Orvane::Cli {
namespace {

constexpr std::size_t kMostBytes = std::numeric_limits<int>::max();

}  // namespace

Picture DecodePicture(const std::string& bytes, int channels, const std::string& path) {
    Picture picture{0, 0, channels, {}};
    const bool fits = bytes.size() <= kMostBytes;
    const std::unique_ptr<uint8_t, void (*)(void*)> pixels(
        fits ? stbi_load_from_memory(reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<int>(bytes.size()),
                                     &picture.width, &picture.height, nullptr, channels)
             : nullptr,
        stbi_image_free);
    if (!pixels) {
        throw Failure(path + " is not a picture that orvane can read: " + (fits ? stbi_failure_reason() : "too large"),
                      {"Give a PNG or JPEG file."});
    }
    const auto size = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    picture.pixels.assign(pixels.get(), pixels.get() + size * static_cast<std::size_t>(channels));
    return picture;
}

Picture Scaled(const Picture& picture, int width, int height) {
    const std::size_t size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    Picture scaled{width, height, picture.channels, {}};
    scaled.pixels.resize(size * static_cast<std::size_t>(picture.channels));
    if (stbir_resize_uint8_generic(picture.pixels.data(), picture.width, picture.height, 0, scaled.pixels.data(), width,
                                   height, 0, picture.channels, STBIR_ALPHA_CHANNEL_NONE, 0, STBIR_EDGE_CLAMP,
                                   STBIR_FILTER_TRIANGLE, STBIR_COLORSPACE_LINEAR, nullptr) == 0) {
        throw std::bad_alloc();
    }
    return scaled;
}

std::string Inflate(const std::string& deflated, std::size_t size) {
    if (deflated.size() > kMostBytes || size > kMostBytes) {
        throw Failure("a compressed .npz with 2 GiB or more in one array cannot be read", {"Save it uncompressed."});
    }
    std::string bytes(size, '\0');
    const int count = stbi_zlib_decode_noheader_buffer(bytes.data(), static_cast<int>(bytes.size()), deflated.data(),
                                                       static_cast<int>(deflated.size()));
    bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return bytes;
}

}  // namespace Orvane::Cli
