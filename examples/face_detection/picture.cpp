#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

#define STBI_NO_STDIO
#include <stb_image.h>
#include <stb_image_resize.h>
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace {

constexpr int kChannels = 3;

// A path made from char8_t is UTF-8 on every system. A path made from char is not.
std::filesystem::path PathFromUtf8(const std::string& text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::vector<uint8_t> ReadFile(const std::string& path) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(PathFromUtf8(path), error);
    if (error) {
        throw std::runtime_error("cannot read " + path + ": " + error.message());
    }
    constexpr uintmax_t kLargest = 1'000'000'000;
    if (size > kLargest) {
        throw std::runtime_error(path + " is too large for a picture");
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    std::ifstream file(PathFromUtf8(path), std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
        throw std::runtime_error("cannot read " + path + ": check that you may open it");
    }
    return bytes;
}

// Writes a file beside `path` and renames it, so that other programs never see half a file.
void WriteFile(const std::vector<uint8_t>& bytes, const std::string& path) {
    const std::filesystem::path target = PathFromUtf8(path);
    std::error_code error;
    const std::filesystem::file_status earlier = std::filesystem::status(target, error);
    if (std::filesystem::exists(earlier) && !std::filesystem::is_regular_file(earlier)) {
        throw std::runtime_error("cannot write " + path + ": it is a folder or a device, name a file");
    }
    const std::filesystem::path beside = PathFromUtf8(path + ".part-" + std::to_string(std::random_device()()));
    std::ofstream file(beside, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        std::filesystem::remove(beside, error);
        throw std::runtime_error("cannot write " + path +
                                 ": check that its folder exists, may be written and has room");
    }
    std::filesystem::rename(beside, target, error);
    if (error) {
        const std::string reason = error.message();
        std::filesystem::remove(beside, error);
        throw std::runtime_error("cannot write " + path + ": " + reason);
    }
}

// The position of a picture in the square that it was fitted into.
struct Placement {
    int left;
    int top;
    int width;
    int height;
};

Placement PlaceInSquare(const Picture& picture, int side) {
    const double scale = static_cast<double>(side) / std::max(picture.width, picture.height);
    const int width = std::max(1, static_cast<int>(std::lround(picture.width * scale)));
    const int height = std::max(1, static_cast<int>(std::lround(picture.height * scale)));
    return {(side - width) / 2, (side - height) / 2, width, height};
}

}  // namespace

Picture LoadPicture(const std::string& path) {
    const std::vector<uint8_t> file = ReadFile(path);
    Picture picture;
    const std::unique_ptr<uint8_t, void (*)(void*)> pixels(
        stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &picture.width, &picture.height, nullptr,
                              kChannels),
        stbi_image_free);
    if (!pixels) {
        throw std::runtime_error(path + " is not a picture that can be read (" + stbi_failure_reason() +
                                 "): pass a PNG, JPEG or BMP file");
    }
    const size_t size = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * kChannels;
    picture.pixels.assign(pixels.get(), pixels.get() + size);
    return picture;
}

void SavePicture(const Picture& picture, const std::string& path) {
    std::vector<uint8_t> file;
    const auto append = [](void* context, void* data, int size) {
        const auto* bytes = static_cast<const uint8_t*>(data);
        auto& all = *static_cast<std::vector<uint8_t>*>(context);
        all.insert(all.end(), bytes, bytes + size);
    };
    if (stbi_write_png_to_func(append, &file, picture.width, picture.height, kChannels, picture.pixels.data(),
                               picture.width * kChannels) == 0) {
        throw std::runtime_error("cannot write " + path + ": the picture does not fit into memory");
    }
    WriteFile(file, path);
}

Picture FitIntoSquare(const Picture& picture, int side) {
    const Placement place = PlaceInSquare(picture, side);
    const int rowBytes = side * kChannels;
    Picture square{side, side, std::vector<uint8_t>(static_cast<size_t>(side * rowBytes))};
    uint8_t* corner = square.pixels.data() + ptrdiff_t{place.top} * rowBytes + ptrdiff_t{place.left} * kChannels;
    if (stbir_resize_uint8(picture.pixels.data(), picture.width, picture.height, picture.width * kChannels, corner,
                           place.width, place.height, rowBytes, kChannels) == 0) {
        throw std::runtime_error("the picture does not fit into memory: pass a smaller one");
    }
    return square;
}

Box FromSquare(const Box& box, const Picture& picture, int side) {
    const Placement place = PlaceInSquare(picture, side);
    const auto map = [](float at, int start, int scaled, int original) {
        const float mapped =
            (at - static_cast<float>(start)) * static_cast<float>(original) / static_cast<float>(scaled);
        // Unlike std::clamp, these two never return NaN.
        return std::fmax(0.0F, std::fmin(mapped, static_cast<float>(original)));
    };
    return {map(box.left, place.left, place.width, picture.width),
            map(box.top, place.top, place.height, picture.height),
            map(box.right, place.left, place.width, picture.width),
            map(box.bottom, place.top, place.height, picture.height)};
}

void DrawFrame(Picture& picture, const Box& box) {
    constexpr int kThickness = 3;
    constexpr uint8_t kColour[kChannels] = {0, 255, 0};
    const int left = static_cast<int>(std::lround(box.left));
    const int top = static_cast<int>(std::lround(box.top));
    const int right = static_cast<int>(std::lround(box.right));
    const int bottom = static_cast<int>(std::lround(box.bottom));
    for (int y = top; y < bottom; ++y) {
        uint8_t* row = picture.pixels.data() + ptrdiff_t{y} * picture.width * kChannels;
        for (int x = left; x < right; ++x) {
            if (std::min({x - left, right - 1 - x, y - top, bottom - 1 - y}) < kThickness) {
                std::copy_n(kColour, kChannels, row + ptrdiff_t{x} * kChannels);
            }
        }
    }
}
