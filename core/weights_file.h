#pragma once

#include <string>

namespace Orvane {

// Returns the path (UTF-8) of a model file's weights: the same path with the extension "bin". The extension starts at
// the last "." of the file name, even if the name is only an extension, such as ".xml". The standard library finds no
// extension in such a name.
std::string WeightsFileOf(const std::string& modelFile);

}  // namespace Orvane
