#pragma once

#include <string>

namespace Orvane {

// The file with the weights of a model file, which stands beside it: its path (UTF-8) with the ending "bin". The ending
// is what stands in the file's name from the last "." on, also when that is all of the name, which the standard library
// takes for a name without an ending.
std::string WeightsFileOf(const std::string& modelFile);

}  // namespace Orvane
