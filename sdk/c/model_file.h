#pragma once

#include <orvane/orvane_c.h>

#include "core/model_file.h"

#include <string>

namespace Orvane::C {

// What the functions of the C interface without a loaded model do. Each throws `Failure` and `FileError`.

using TensorSink = void (*)(void* user, int32_t side, const orvane_tensor* tensor);
using DeviceSink = void (*)(void* user, const char* name, const char* fullName);

void TellDevices(DeviceSink sink, void* user);
void TellTensors(const std::string& path, TensorSink sink, void* user);

// The shapes as the caller gave them, looked through.
InputShapes ReadShapes(const orvane_shape* first, uint32_t count);

// An empty `out` only tries. Otherwise `out` and its .bin appear whole or not at all.
void Reshape(const std::string& path, const InputShapes& shapes, const std::string& out);

}  // namespace Orvane::C
