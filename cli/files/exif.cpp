#include "cli/files/bytes.h"
#include "cli/files/picture.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Orvane::Cli {
namespace {

// Exif data have the format of a TIFF file.
int OrientationTag(std::string_view tiff) {
    constexpr uint32_t kOrientation = 0x0112;
    constexpr std::size_t kEntryBytes = 12;
    const bool isLittle = tiff.starts_with("II");
    const std::size_t directory = NumberAt(tiff, 4, 4, isLittle);
    const uint32_t count = NumberAt(tiff, directory, 2, isLittle);
    for (uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * kEntryBytes;
        if (entry + kEntryBytes > tiff.size()) {
            break;
        }
        if (NumberAt(tiff, entry, 2, isLittle) == kOrientation) {
            return static_cast<int>(NumberAt(tiff, entry + 8, 2, isLittle));
        }
    }
    return 1;
}

}  // namespace

int ExifOrientation(std::string_view file) {
    constexpr std::string_view kStart = "\xff\xd8";
    constexpr std::string_view kExif("Exif\0\0", 6);
    constexpr uint32_t kApplicationSegment = 0xffe1;
    constexpr uint32_t kPixels = 0xffda;
    if (!file.starts_with(kStart)) {
        return 1;
    }
    for (std::size_t place = kStart.size(); place + 4 < file.size();) {
        const uint32_t marker = NumberAt(file, place, 2, false);
        const std::size_t length = NumberAt(file, place + 2, 2, false);
        if (marker < 0xff00 || marker == kPixels || length < 2) {
            break;
        }
        std::string_view segment = file.substr(place + 4, length - 2);
        if (marker == kApplicationSegment && segment.starts_with(kExif)) {
            segment.remove_prefix(kExif.size());
            const int orientation = OrientationTag(segment);
            return orientation >= 1 && orientation <= 8 ? orientation : 1;
        }
        place += 2 + length;
    }
    return 1;
}

Picture Upright(Picture picture, int orientation) {
    if (orientation == 1) {
        return picture;
    }
    const bool isOnItsSide = orientation >= 5;
    const bool isMirroredAcross = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool isMirroredDown = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    Picture turned = picture;
    if (isOnItsSide) {
        std::swap(turned.width, turned.height);
    }
    for (int y = 0; y < turned.height; ++y) {
        for (int x = 0; x < turned.width; ++x) {
            const int across = isOnItsSide ? y : x;
            const int down = isOnItsSide ? x : y;
            const int column = isMirroredAcross ? picture.width - 1 - across : across;
            const int row = isMirroredDown ? picture.height - 1 - down : down;
            const auto from = (ptrdiff_t{row} * picture.width + column) * picture.channels;
            const auto to = (ptrdiff_t{y} * turned.width + x) * picture.channels;
            std::copy_n(picture.pixels.begin() + from, picture.channels, turned.pixels.begin() + to);
        }
    }
    return turned;
}

}  // namespace Orvane::Cli
