#pragma once

#include "cli/model/model_tensor.h"

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

// The picture in the file `bytes`, scaled to the input's height and width, as its data. The input is one picture with
// one or three channels, first or last, of type float32 or uint8. Throws `Failure` when it is none or there is no
// picture.
std::vector<uint8_t> PictureData(const std::string& bytes, const std::string& path, const ModelTensor& input,
                                 const PictureOptions& options);

}  // namespace Orvane::Cli
