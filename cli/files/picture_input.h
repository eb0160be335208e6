#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// How a pixel of a picture, 0 to 255, becomes an element of an input: (pixel - mean) / scale. `mean` and `scale` have a
// number for each channel of the input, one number for all, or no number.
struct PictureOptions {
    std::vector<double> mean;
    std::vector<double> scale;
    bool bgr = false;  // the input's first channel is blue

    bool AnyGiven() const { return !mean.empty() || !scale.empty() || bgr; }
};

// Converts the picture in `bytes` to the data of an input: rotates it according to its Exif data, and scales it to the
// input's height and width. The input must take one picture with one or three channels, first or last, of type float32
// or uint8. Throws `Failure` for another input, and for bytes that are not a picture.
std::vector<uint8_t> PictureData(const std::string& bytes, const std::string& path, const orvane::Tensor& input,
                                 const PictureOptions& options);

}  // namespace Orvane::Cli
