#pragma once

#include <orvane/orvane_c.h>

#include "core/model_file.h"

#include <string>

namespace Orvane::C {

// The functions of the C interface without a loaded model. They throw `Failure` and `FileError`.

using TensorSink = void (*)(void* user, int32_t side, const orvane_tensor* tensor);
using DeviceSink = void (*)(void* user, const char* name, const char* fullName);

void ForEachDevice(DeviceSink sink, void* user);
void ForEachTensor(const std::string& path, TensorSink sink, void* user);

// Reads and checks the caller's shapes.
InputShapes ReadShapes(const orvane_shape* first, uint32_t count);

// If `out` is empty, nothing is written. Otherwise `out` and its .bin both appear whole, or neither appears.
void Reshape(const std::string& path, const InputShapes& shapes, const std::string& out);

}  // namespace Orvane::C
