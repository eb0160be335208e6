#include "cli/element_type.h"

#include <algorithm>
#include <iterator>

namespace Orvane::Cli {
namespace {

struct ElementType {
    DataType type;
    const char* name;
    const char* npy;
};

constexpr ElementType kElementTypes[] = {
    {DataTypeFloat32, "float32", "<f4"}, {DataTypeFloat16, "float16", "<f2"}, {DataTypeInt32, "int32", "<i4"},
    {DataTypeUInt8, "uint8", "|u1"},     {DataTypeInt64, "int64", "<i8"},     {DataTypeBool, "bool", "|b1"},
    {DataTypeInt16, "int16", "<i2"},     {DataTypeInt8, "int8", "|i1"},       {DataTypeFloat64, "float64", "<f8"},
};

const ElementType* Find(DataType type) {
    const auto* found = std::find_if(std::begin(kElementTypes), std::end(kElementTypes),
                                     [&](const ElementType& candidate) { return candidate.type == type; });
    return found == std::end(kElementTypes) ? nullptr : found;
}

}  // namespace

std::string ElementTypeName(DataType type) {
    const ElementType* found = Find(type);
    return found != nullptr ? found->name : "unknown";
}

std::string NpyDescription(DataType type) {
    return Find(type)->npy;
}

std::optional<DataType> ElementTypeFromNpy(const std::string& description) {
    for (const ElementType& candidate : kElementTypes) {
        if (candidate.npy == description) {
            return candidate.type;
        }
    }
    return std::nullopt;
}

}  // namespace Orvane::Cli
