#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The functions of stb that this program uses. In a build without stb, each throws a `Failure` that says so.
namespace Orvane::Cli {

// Rows from the top, with `channels` bytes for each pixel: grey, or red, green and blue.
struct Picture {
    int width;
    int height;
    int channels;
    std::vector<uint8_t> pixels;
};

// Decodes the bytes of a PNG or JPEG file with any channels. Throws `Failure` for anything else; `path` is for the
// message.
Picture DecodePicture(const std::string& bytes, int channels, const std::string& path);

// Scales the picture to this width and height: bilinear, and over all covered pixels where the picture shrinks.
Picture Scaled(const Picture& picture, int width, int height);

// Unpacks a deflate stream without a header to `size` bytes. Returns another number of bytes if it is damaged.
std::string Inflate(const std::string& deflated, std::size_t size);

}  // namespace Orvane::Cli
