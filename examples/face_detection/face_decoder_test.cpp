#include "examples/face_detection/face_decoder.h"

#include <gtest/gtest.h>

namespace {

// Returns the faces if the model reports a face with the same box at each of these anchors.
std::vector<Face> Decode(const std::vector<std::pair<size_t, float>>& logitsAtAnchors) {
    const float box[] = {3, -2, 40, 20};
    std::vector<float> regressors(kAnchorCount * kRegressorsPerAnchor);
    std::vector<float> logits(kAnchorCount, -5);
    for (const auto& [anchor, logit] : logitsAtAnchors) {
        std::copy_n(box, 4, &regressors[anchor * kRegressorsPerAnchor]);
        logits[anchor] = logit;
    }
    return DecodeFaces(regressors, logits);
}

std::vector<float> Edges(const Box& box) {
    return {box.left, box.top, box.right, box.bottom};
}

// A letter for each pixel, row by row.
std::string Drawn(const Picture& picture) {
    std::string letters;
    for (size_t i = 0; i < picture.pixels.size(); i += 3) {
        letters += picture.pixels[i + 1] == 255 ? '#' : '.';
    }
    return letters;
}

TEST(FaceDecoder, PlacesBoxesAtTheAnchors) {
    const struct {
        size_t anchor;
        float x, y;
    } cases[] = {{0, 4, 4},   {1, 4, 4},   {2, 12, 4},   {31, 124, 4},  {32, 4, 12},  {511, 124, 124},
                 {512, 8, 8}, {517, 8, 8}, {518, 24, 8}, {559, 120, 8}, {560, 8, 24}, {895, 120, 120}};
    for (const auto& [anchor, x, y] : cases) {
        EXPECT_EQ(Edges(Decode({{anchor, 1}}).at(0).box), Edges({x - 17, y - 12, x + 23, y + 8})) << anchor;
    }
}

TEST(FaceDecoder, KeepsTheBestBoxOfEachFace) {
    const std::vector<Face> scored = Decode({{0, -0.01F}, {10, 0}, {20, 2}});
    ASSERT_EQ(scored.size(), 2U);
    EXPECT_FLOAT_EQ(scored[0].score, 0.880797F);
    EXPECT_FLOAT_EQ(scored[1].score, 0.5F);
    // The anchors are at x 4, 20 and 44. Boxes 16 apart share 24 / 56 of their union; boxes 24 apart share 16 / 64.
    const std::vector<Face> apart = Decode({{0, 1}, {4, 2}, {10, 3}});
    ASSERT_EQ(apart.size(), 2U);
    EXPECT_EQ(apart[0].box.left, 27);
    EXPECT_EQ(apart[1].box.left, 3);
}

TEST(Picture, FitsIntoTheSquareAndMapsBack) {
    const std::vector<uint8_t> white(400'000, 255);  // enough for each picture
    const auto fitted = [&](int width, int height) { return Drawn(FitIntoSquare({width, height, white}, 4)); };
    EXPECT_EQ(fitted(512, 256), "....########....");
    EXPECT_EQ(fitted(30, 60), ".##..##..##..##.");
    EXPECT_EQ(fitted(500, 1), "....####........");
    EXPECT_EQ(Edges(FromSquare({64, 40, 80, 56}, {512, 256, {}}, 128)), Edges({256, 32, 320, 96}));
    EXPECT_EQ(Edges(FromSquare({40, 64, 56, 80}, {256, 512, {}}, 128)), Edges({32, 256, 96, 320}));
    EXPECT_EQ(Edges(FromSquare({-10, -10, 138, 138}, {500, 1, {}}, 128)), Edges({0, 0, 500, 1}));
}

TEST(Picture, DrawsAFrameInsideTheBox) {
    Picture picture{10, 9, std::vector<uint8_t>(270)};
    DrawFrame(picture, {2, 1, 10, 9});
    const std::string solid = "..########";
    const std::string hollow = "..###..###";
    EXPECT_EQ(Drawn(picture), ".........." + solid + solid + solid + hollow + hollow + solid + solid + solid);
}

}  // namespace
