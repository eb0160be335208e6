#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Rows from the top, 3 bytes a pixel: red, green, blue.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;
};

// A rectangle in pixels; x grows to the right, y downwards.
struct Box {
    float left = 0;
    float top = 0;
    float right = 0;
    float bottom = 0;
};

// All paths are UTF-8. Throws std::runtime_error if the file cannot be read or is not a picture.
Picture LoadPicture(const std::string& path);

// Writes a PNG file and replaces an earlier file of that name. The file appears whole or not at all. Throws
// std::runtime_error on failure.
void SavePicture(const Picture& picture, const std::string& path);

// Returns a black square of `side` x `side` pixels with the picture in its middle, scaled to fit without distortion.
Picture FitIntoSquare(const Picture& picture, int side);

// The opposite direction: converts a box in that square to the picture, and clips it at the picture's edges.
Box FromSquare(const Box& box, const Picture& picture, int side);

// Draws the box's outline into the picture, 3 pixels wide and inside the box. The box must lie in the picture.
void DrawFrame(Picture& picture, const Box& box);
