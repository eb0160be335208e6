#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The content of an .npy file's header.
struct NpyArray {
    orvane::ElementType elementType = orvane::ElementType::Unknown;
    std::vector<int64_t> shape;
    bool isFortran = false;  // the first dimension varies fastest, not the last
};

// A file cannot be read as an .npy file; the text says why.
struct UnreadableNpy : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads the header of an .npy file (format 1.0, 2.0 or 3.0) and leaves `file` at the first byte of the data,
// which is little-endian. Throws `UnreadableNpy` for anything else. Does not check how much data follows.
NpyArray ReadNpyHeader(std::istream& file);

// Converts the elements of an array from Fortran order to C order: the last dimension then varies fastest. `data` must
// have all elements of the shape.
std::vector<uint8_t> InCOrder(const std::vector<uint8_t>& data, const NpyArray& array);

// Returns the header of format 1.0 for data in C order with a known element type. Throws `Failure` if the shape does
// not fit into the header.
std::string NpyHeader(const NpyArray& array);

}  // namespace Orvane::Cli
