#pragma once

#include "picture.h"

#include <cstddef>
#include <vector>

struct Face {
    float score = 0;  // how sure the model is, 0 to 1
    Box box;          // in pixels, at first of the model's square input
};

// What the face detector takes and gives.
inline constexpr int kInputSide = 128;              // pixels of its square input
inline constexpr size_t kAnchorCount = 896;         // places at which it looks for a face
inline constexpr size_t kRegressorsPerAnchor = 16;  // numbers that describe the face at one of them

// Makes faces of the model's two outputs, the best first: those with a score of at least 0.5, and of boxes that
// cover the same face only the best.
// `regressors` holds kRegressorsPerAnchor numbers for each anchor, `logits` one.
std::vector<Face> DecodeFaces(const std::vector<float>& regressors, const std::vector<float>& logits);
