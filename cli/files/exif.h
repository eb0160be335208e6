#pragma once

#include "cli/files/stb.h"

#include <string_view>

namespace Orvane::Cli {

// How the pixels of a JPEG file must be turned, as cameras say it in the Exif data: 1 (not at all) to 8. 1 for any
// other file, and where the data say nothing or are damaged.
int ExifOrientation(std::string_view file);

// The picture turned and mirrored for that orientation.
Picture Upright(Picture picture, int orientation);

}  // namespace Orvane::Cli
