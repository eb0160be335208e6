#include "cli/files/picture_input.h"

#include "cli/failure.h"
#include "cli/files/picture.h"
#include "cli/printable.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace Orvane::Cli {
namespace {

struct Layout {
    int64_t height;
    int64_t width;
    int64_t channels;
    bool channelsFirst;
};

// The shape has three dimensions, or four dimensions and the first is 1.
std::optional<Layout> LayoutOf(std::vector<int64_t> shape) {
    if (shape.size() == 4 && shape[0] == 1) {
        shape.erase(shape.begin());
    }
    if (shape.size() != 3) {
        return std::nullopt;
    }
    const auto isChannels = [](int64_t size) { return size == 1 || size == 3; };
    const bool isFirst = isChannels(shape[0]) && (!isChannels(shape[2]) || shape[2] <= shape[0]);
    const Layout layout =
        isFirst ? Layout{shape[1], shape[2], shape[0], true} : Layout{shape[0], shape[1], shape[2], false};
    constexpr int64_t kLargest = std::numeric_limits<int>::max();
    const bool fits = layout.height <= kLargest && layout.width <= kLargest;
    return isChannels(layout.channels) && fits ? std::optional(layout) : std::nullopt;
}

double NumberFor(const std::vector<double>& numbers, int64_t channel, double fallback) {
    if (numbers.empty()) {
        return fallback;
    }
    return numbers[numbers.size() == 1 ? 0 : static_cast<std::size_t>(channel)];
}

void CheckOptions(const orvane::Tensor& input, const Layout& layout, const PictureOptions& options) {
    for (const std::vector<double>* numbers : {&options.mean, &options.scale}) {
        if (numbers->size() > 1 && static_cast<int64_t>(numbers->size()) != layout.channels) {
            throw Failure(input.Label() + " has 1 channel, but --mean or --scale gives " +
                              std::to_string(numbers->size()) + " numbers",
                          {"Give one."});
        }
    }
    if (input.type == orvane::ElementType::UInt8 && !(options.mean.empty() && options.scale.empty())) {
        throw Failure(input.Label() + " has elements of type uint8: the pixels are copied unchanged",
                      {"Leave --mean and --scale out."});
    }
}

template <typename Element>
void Fill(std::vector<uint8_t>& data, const Picture& picture, const Layout& layout, const PictureOptions& options) {
    const int64_t area = layout.height * layout.width;
    for (int64_t channel = 0; channel < layout.channels; ++channel) {
        const double mean = NumberFor(options.mean, channel, 0);
        const double scale = NumberFor(options.scale, channel, 1);
        const int64_t source = options.bgr ? layout.channels - 1 - channel : channel;
        for (int64_t pixel = 0; pixel < area; ++pixel) {
            const uint8_t value = picture.pixels[static_cast<std::size_t>(pixel * layout.channels + source)];
            const auto element = static_cast<Element>((value - mean) / scale);
            const int64_t place = layout.channelsFirst ? channel * area + pixel : pixel * layout.channels + channel;
            std::memcpy(data.data() + static_cast<std::size_t>(place) * sizeof element, &element, sizeof element);
        }
    }
}

}  // namespace

std::vector<uint8_t> PictureData(const std::string& bytes, const std::string& path, const orvane::Tensor& input,
                                 const PictureOptions& options) {
    const std::optional<Layout> layout = LayoutOf(input.shape);
    const bool isFloat = input.type == orvane::ElementType::Float32;
    if (!layout || (!isFloat && input.type != orvane::ElementType::UInt8)) {
        throw Failure(
            input.Label() + " is " + TypeText(input.type, input.shape) + ", and cannot take a picture",
            {"A picture needs an input of type float32 or uint8 and shape [1, C, H, W] or [1, H, W, C], with 1 or "
             "3 channels. Give an .npy file."});
    }
    CheckOptions(input, *layout, options);
    Picture picture = Upright(DecodePicture(bytes, static_cast<int>(layout->channels), path), ExifOrientation(bytes));
    if (picture.width != layout->width || picture.height != layout->height) {
        picture = Scaled(picture, static_cast<int>(layout->width), static_cast<int>(layout->height));
    }
    std::vector<uint8_t> data(static_cast<std::size_t>(input.byteSize));
    isFloat ? Fill<float>(data, picture, *layout, options) : Fill<uint8_t>(data, picture, *layout, options);
    return data;
}

}  // namespace Orvane::Cli
