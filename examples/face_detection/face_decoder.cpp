#include "face_decoder.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSmallestScore = 0.5F;
// Two boxes show the same face if their intersection is a larger share of their union than this.
constexpr float kLargestOverlap = 0.3F;

struct Point {
    float x;
    float y;
};

// Adds the centres of a grid's cells, row by row, each `repeat` times.
void AppendAnchors(std::vector<Point>& anchors, int cells, int repeat) {
    const float cellSide = static_cast<float>(kInputSide) / static_cast<float>(cells);
    for (int cell = 0; cell < cells * cells; ++cell) {
        const int row = cell / cells;
        const int column = cell % cells;
        const Point centre{(static_cast<float>(column) + 0.5F) * cellSide, (static_cast<float>(row) + 0.5F) * cellSide};
        anchors.insert(anchors.end(), static_cast<size_t>(repeat), centre);
    }
}

// The order of the model's outputs: small faces on a fine grid first, then large ones on a coarse grid.
std::vector<Point> MakeAnchors() {
    std::vector<Point> anchors;
    AppendAnchors(anchors, 16, 2);
    AppendAnchors(anchors, 8, 6);
    return anchors;
}

float ScoreFromLogit(float logit) {
    return 1 / (1 + std::exp(-std::clamp(logit, -100.0F, 100.0F)));
}

// The first four numbers are the box's centre, relative to the anchor, and its size, in pixels of the input.
// The other twelve are six points of the face (eyes, nose, mouth, ears). This example does not use them.
Box DecodeBox(const float* regressors, const Point& anchor) {
    const float x = anchor.x + regressors[0];
    const float y = anchor.y + regressors[1];
    const float halfWidth = regressors[2] / 2;
    const float halfHeight = regressors[3] / 2;
    return {x - halfWidth, y - halfHeight, x + halfWidth, y + halfHeight};
}

float Area(const Box& box) {
    return std::max(0.0F, box.right - box.left) * std::max(0.0F, box.bottom - box.top);
}

bool ShowSameFace(const Box& a, const Box& b) {
    const float common = Area(
        {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)});
    return common > kLargestOverlap * (Area(a) + Area(b) - common);
}

}  // namespace

std::vector<Face> DecodeFaces(const std::vector<float>& regressors, const std::vector<float>& logits) {
    const std::vector<Point> anchors = MakeAnchors();
    std::vector<Face> candidates;
    for (size_t i = 0; i < kAnchorCount; ++i) {
        const float score = ScoreFromLogit(logits[i]);
        if (score >= kSmallestScore) {
            candidates.push_back({score, DecodeBox(&regressors[i * kRegressorsPerAnchor], anchors[i])});
        }
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Face& a, const Face& b) { return a.score > b.score; });

    std::vector<Face> faces;
    for (const Face& candidate : candidates) {
        const bool known = std::any_of(faces.begin(), faces.end(),
                                       [&](const Face& face) { return ShowSameFace(face.box, candidate.box); });
        if (!known) {
            faces.push_back(candidate);
        }
    }
    return faces;
}
