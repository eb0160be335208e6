#pragma once

#include "cli/files/stb.h"

#include <string_view>

namespace Orvane::Cli {

// Returns the orientation from the Exif data of a JPEG file: 1 (upright) to 8. Returns 1 for any other file, and if the
// data are damaged or have no orientation.
int ExifOrientation(std::string_view file);

// Returns the picture, rotated and mirrored according to the orientation.
Picture Upright(Picture picture, int orientation);

}  // namespace Orvane::Cli
