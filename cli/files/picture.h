#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Cli {

// Rows from the top, with `channels` bytes for each pixel: grey, or red, green and blue.
struct Picture {
    int width;
    int height;
    int channels;
    std::vector<uint8_t> pixels;
};

// Returns the orientation from the Exif data of a JPEG file: 1 (upright) to 8. Returns 1 for any other file, and if the
// data are damaged or have no orientation.
int ExifOrientation(std::string_view file);

// Returns the picture, rotated and mirrored according to the orientation.
Picture Upright(Picture picture, int orientation);

// The functions below need stb. In a build without stb, each throws a `Failure` that says so.

// Decodes the bytes of a PNG or JPEG file with any channels. Throws `Failure` for anything else; `path` is for the
// message.
Picture DecodePicture(const std::string& bytes, int channels, const std::string& path);

// Scales the picture to this width and height: bilinear, and over all covered pixels where the picture shrinks.
Picture Scaled(const Picture& picture, int width, int height);

// Unpacks a deflate stream without a header to `size` bytes. Returns another number of bytes if it is damaged.
std::string Inflate(const std::string& deflated, std::size_t size);

}  // namespace Orvane::Cli
