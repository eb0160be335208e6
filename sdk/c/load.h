#pragma once

#include <orvane/interpreter.h>

#include "sdk/c/options.h"

namespace Orvane::C {

// Loads what is asked for. A cache file that is to be made is made in a folder of its own beside its place, read once
// to prove that it is whole, and renamed; when that fails, the log says so and the model runs without it.
Status LoadModel(Interpreter& target, const LoadRequest& request);

}  // namespace Orvane::C
