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

// All paths are UTF-8. A file that cannot be read, or that is no picture, throws std::runtime_error.
Picture LoadPicture(const std::string& path);

// Writes a PNG file. It appears whole, in place of an earlier file of that name, or not at all: a failure throws
// std::runtime_error.
void SavePicture(const Picture& picture, const std::string& path);

// The picture in the middle of a black square of `side` x `side` pixels, scaled to fit with its proportions kept.
Picture FitIntoSquare(const Picture& picture, int side);

// The way back: where a box in that square lies in the picture, cut off at the picture's edges.
Box FromSquare(const Box& box, const Picture& picture, int side);

// Draws the box's outline into the picture, 3 pixels wide and inside the box. The box must lie in the picture.
void DrawFrame(Picture& picture, const Box& box);
