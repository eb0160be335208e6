#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// How the pixels of a picture become the elements of an input: (pixel - mean) / scale, the pixel being 0 to 255. `mean`
// and `scale` have a number for each of the input's channels, one for all, or none.
struct PictureOptions {
    std::vector<double> mean;
    std::vector<double> scale;
    bool bgr = false;  // the input's first channel is blue

    bool AnyGiven() const { return !mean.empty() || !scale.empty() || bgr; }
};

// Whether the path ends like a picture's.
bool IsPicture(const std::string& path);

// Whether it ends like that of a picture of a kind that is not read.
bool IsUnreadPicture(const std::string& path);

// Makes the data of an input from the picture in `bytes`: turned as its Exif data say, and scaled to the input's height
// and width. The input takes one picture with one or three channels, first or last, of type float32 or uint8. Throws
// `Failure` for another input, and for bytes that are not a picture.
std::vector<uint8_t> PictureData(const std::string& bytes, const std::string& path, const orvane::Tensor& input,
                                 const PictureOptions& options);

}  // namespace Orvane::Cli
