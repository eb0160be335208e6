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
    uint32_t size;  // of the .npy file
    uint32_t offset;
};

// A file is no .npz file that can be read; the text says why.
struct UnreadableNpz : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What the archive's directory lists. Throws `UnreadableNpz`, also for an archive of 4 GiB or more.
std::vector<NpzArray> ListNpz(std::istream& file);

// The .npy file of one of them. Throws `UnreadableNpz` when it is damaged, and `Failure` when this build cannot unpack.
std::string ReadNpz(std::istream& file, const NpzArray& array);

}  // namespace Orvane::Cli
