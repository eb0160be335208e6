#pragma once

#include <orvane/tensor_info.h>

#include <optional>
#include <string>

namespace Orvane::Cli {

// "float32" and the like; "unknown" for a type without a name here.
std::string ElementTypeName(DataType type);

// The type's little-endian description in an .npy file, "<f4" and the like. Only for a type with a name.
std::string NpyDescription(DataType type);

// The type that an .npy file describes so; none when tensors have no such type.
std::optional<DataType> ElementTypeFromNpy(const std::string& description);

}  // namespace Orvane::Cli
