#pragma once

#include <orvane/interpreter.h>

#include "sdk/c/options.h"

namespace Orvane::C {

// Loads a model. A new cache file is written to a private folder beside its place, read once to check that it is whole,
// and renamed. If that fails, the log says why, and the model runs without it.
Status LoadModel(Interpreter& target, const LoadRequest& request);

}  // namespace Orvane::C
