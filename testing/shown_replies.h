#pragma once

#include "core/i_orvane.h"
#include "testing/round_trips.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

// How tests write down what a backend makes of the replies of a host.
namespace Orvane::Testing {

inline std::string ShownInfo(IOrvane& backend, uint32_t index) {
    const TensorInfo info = backend.GetTensorInfo(TensorTypeOutput, index);
    std::ostringstream text;
    text << info.name << " " << info.dataType << " " << info.format;
    for (const int64_t dimension : info.shape) {
        text << " " << dimension;
    }
    return text.str();
}

// Of three bytes.
inline std::string ShownCopy(IOrvane& backend, uint32_t index) {
    char data[] = "___";
    return Shown(backend.CopyOutputTo(index, data, 3)) + " " + data;
}

inline std::string ShownData(IOrvane& backend, uint32_t index, size_t size) {
    const auto* data = static_cast<const char*>(backend.GetTensorData(TensorTypeOutput, index));
    return data != nullptr ? std::string(data, size) : "null";
}

}  // namespace Orvane::Testing
