#pragma once

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Orvane::Cli {

// One array of an .npz file, which is a zip archive of .npy files.
struct NpzArray {
    std::string name;  // without .npy
    bool isDeflated;
    uint32_t checksum;
    uint32_t packedSize;
    uint32_t size;  // bytes of the .npy file
    uint32_t offset;
};

// A file cannot be read as an .npz file; the text says why.
struct UnreadableNpz : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Lists the archive's directory. Throws `UnreadableNpz`, also for an archive of 4 GiB or more.
std::vector<NpzArray> ListNpz(std::istream& file);

// Returns the .npy file of an array. Throws `UnreadableNpz` if it is damaged, and `Failure` if this build cannot
// unpack.
std::string ReadNpz(std::istream& file, const NpzArray& array);

}  // namespace Orvane::Cli
