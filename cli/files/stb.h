#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What stb does for this program. Without it, when this was built, each throws `Failure` that says so.
namespace Orvane::Cli {

// Rows from the top, `channels` bytes a pixel: one of grey, or red, green and blue.
struct Picture {
    int width;
    int height;
    int channels;
    std::vector<uint8_t> pixels;
};

// Of the bytes of a PNG or JPEG file, whatever channels it has itself. Throws `Failure` for anything else; `path` is
// for the message.
Picture DecodePicture(const std::string& bytes, int channels, const std::string& path);

// Scaled to these sizes, each way as much as it takes: bilinear, and over all that a pixel covers where it becomes
// smaller.
Picture Scaled(const Picture& picture, int width, int height);

// What the bare deflate stream unpacks to, `size` bytes; another number of bytes when it is damaged.
std::string Inflate(const std::string& deflated, std::size_t size);

}  // namespace Orvane::Cli
