#include "examples/face_detection/face_decoder.h"

#include <gtest/gtest.h>

namespace {

// What the model says at one anchor; at all others it says that there is no face.
struct Finding {
    size_t anchor;
    float logit;
    float x, y, width, height;
};

std::vector<Face> Decode(const std::vector<Finding>& findings) {
    std::vector<float> regressors(kAnchorCount * kRegressorsPerAnchor);
    std::vector<float> logits(kAnchorCount, -5);
    for (const auto& [anchor, logit, x, y, width, height] : findings) {
        float* values = &regressors[anchor * kRegressorsPerAnchor];
        values[0] = x;
        values[1] = y;
        values[2] = width;
        values[3] = height;
        logits[anchor] = logit;
    }
    return DecodeFaces(regressors, logits);
}

std::vector<float> Edges(const Box& box) {
    return {box.left, box.top, box.right, box.bottom};
}

TEST(FaceDecoder, PlacesBoxesAtTheAnchors) {
    const struct {
        size_t anchor;
        float x, y;
    } cases[] = {{0, 4, 4},   {1, 4, 4},   {2, 12, 4},   {31, 124, 4},  {32, 4, 12},  {511, 124, 124},
                 {512, 8, 8}, {517, 8, 8}, {518, 24, 8}, {559, 120, 8}, {560, 8, 24}, {895, 120, 120}};
    for (const auto& [anchor, x, y] : cases) {
        const std::vector<Face> faces = Decode({{anchor, 1, 3, -2, 20, 10}});
        ASSERT_EQ(faces.size(), 1U) << anchor;
        EXPECT_EQ(Edges(faces[0].box), Edges({x - 7, y - 7, x + 13, y + 3})) << anchor;
    }
}

TEST(FaceDecoder, KeepsTheBestOfWhatShowsAFace) {
    const std::vector<Face> scored =
        Decode({{0, -0.01F, 0, 0, 4, 4}, {30, 0, 0, 0, 4, 4}, {62, 2, 0, 0, 4, 4}, {94, 1000, 0, 0, 4, 4}});
    ASSERT_EQ(scored.size(), 3U);
    EXPECT_FLOAT_EQ(scored[0].score, 1);
    EXPECT_FLOAT_EQ(scored[1].score, 0.880797F);
    EXPECT_FLOAT_EQ(scored[2].score, 0.5F);

    // Boxes of 40 x 40 with centres at x 4, 20 and 44: 16 apart they share 24 / 56 of what both cover, 24 apart 16
    // / 64.
    const std::vector<Face> apart = Decode({{0, 1, 0, 0, 40, 40}, {4, 2, 0, 0, 40, 40}, {10, 3, 0, 0, 40, 40}});
    ASSERT_EQ(apart.size(), 2U);
    EXPECT_EQ(Edges(apart[0].box), Edges({24, -16, 64, 24}));
    EXPECT_EQ(Edges(apart[1].box), Edges({0, -16, 40, 24}));
}

TEST(Picture, FitsIntoTheSquareAndMapsBack) {
    const struct {
        int width = 0;
        int height = 0;
        Box inside;  // where the picture lies in a square of 128
    } cases[] = {{512, 256, {0, 32, 128, 96}}, {30, 60, {32, 0, 96, 128}}, {500, 1, {0, 63, 128, 64}}};
    for (const auto& [width, height, inside] : cases) {
        const Picture white{width, height,
                            std::vector<uint8_t>(3 * static_cast<size_t>(width) * static_cast<size_t>(height), 255)};
        const Picture square = FitIntoSquare(white, 128);
        for (size_t i = 0; i < square.pixels.size(); ++i) {
            const size_t row = i / 3 / 128;
            const auto x = static_cast<float>(i / 3 % 128);
            const auto y = static_cast<float>(row);
            const bool isInside = x >= inside.left && x < inside.right && y >= inside.top && y < inside.bottom;
            ASSERT_EQ(square.pixels[i], isInside ? 255 : 0) << width << ": " << x << ", " << y;
        }
        const Box whole{0, 0, static_cast<float>(width), static_cast<float>(height)};
        EXPECT_EQ(Edges(FromSquare(inside, white, 128)), Edges(whole));
        EXPECT_EQ(Edges(FromSquare({-10, -10, 138, 138}, white, 128)), Edges(whole));
    }
    EXPECT_EQ(Edges(FromSquare({64, 40, 80, 56}, {512, 256, {}}, 128)), Edges({256, 32, 320, 96}));
}

TEST(Picture, DrawsAFrameInsideTheBox) {
    Picture picture{10, 9, std::vector<uint8_t>(10 * 9 * 3)};
    DrawFrame(picture, {2, 1, 10, 9});
    std::string drawn;
    for (size_t i = 0; i < picture.pixels.size(); i += 3) {
        drawn += picture.pixels[i + 1] == 255 ? '#' : '.';
    }
    const std::string solid = "..########";
    const std::string hollow = "..###..###";
    EXPECT_EQ(drawn, ".........." + solid + solid + solid + hollow + hollow + solid + solid + solid);
}

}  // namespace
