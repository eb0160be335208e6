#pragma once

#include "picture.h"

#include <cstddef>
#include <vector>

struct Face {
    float score = 0;  // confidence of the model, 0 to 1
    Box box;          // in pixels of the model's square input, or of the picture after FromSquare
};

// The tensors of the face detector.
inline constexpr int kInputSide = 128;              // pixels of its square input
inline constexpr size_t kAnchorCount = 896;         // places where it looks for a face
inline constexpr size_t kRegressorsPerAnchor = 16;  // numbers that describe the face at one place

// Returns the faces in the model's two outputs, the best first: those with a score of at least 0.5. If several boxes
// show the same face, returns only the best. `regressors` has kRegressorsPerAnchor numbers for each anchor, `logits`
// has one.
std::vector<Face> DecodeFaces(const std::vector<float>& regressors, const std::vector<float>& logits);
