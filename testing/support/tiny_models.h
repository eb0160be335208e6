#pragma once

#include "testing/support/temporary_folder.h"

#include <string>
#include <vector>

namespace Orvane::Testing {

// A model in OpenVINO's IR format: the text of its .xml and the bytes of its .bin.
struct TinyModel {
    std::string description;
    std::string weights;

    // Writes NAME.xml and NAME.bin. Returns the path of NAME.xml.
    std::string WriteTo(const TemporaryFolder& folder, const std::string& name) const;
};

struct TinyPort {
    std::string name;                     // of the tensor; may be empty
    std::string elementType;              // as IR spells it: "f32", "u8", "boolean", ...
    std::vector<std::string> dimensions;  // "?" is dynamic
};

// Output "y" = input "x" + weights, f32 of shape [1, weights.size()].
TinyModel AddModel(const std::vector<float>& weights);

// Copies each input to an output of the same name. Has no weights.
TinyModel EchoModel(const std::vector<TinyPort>& ports);

}  // namespace Orvane::Testing
