#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Orvane::Cli {

// What an .npy file says of the data behind its header.
struct NpyArray {
    orvane::ElementType elementType = orvane::ElementType::Unknown;
    std::vector<int64_t> shape;
    bool isFortran = false;  // the first dimension varies fastest, not the last
};

// A file is no .npy file that can be read; the text says why.
struct UnreadableNpy : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads the header of an .npy file (format 1.0, 2.0 or 3.0) and leaves `file` at the first byte of the data,
// which are little-endian. Throws `UnreadableNpy` for anything else.
// Whether as much data follows is not looked at.
NpyArray ReadNpyHeader(std::istream& file);

// The elements of such an array, which it has in Fortran order, with the last dimension varying fastest. `data` has as
// many as the shape says.
std::vector<uint8_t> InCOrder(const std::vector<uint8_t>& data, const NpyArray& array);

// The header of format 1.0 that stands before data in C order, of elements of a known type. Throws `Failure` when the
// shape does not fit into one.
std::string NpyHeader(const NpyArray& array);

}  // namespace Orvane::Cli
