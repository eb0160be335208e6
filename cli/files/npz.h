#pragma once

#include <cstdint>
#include <istream>
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

// Lists the archive's directory. `path` is for messages. Throws `Failure` for a file that is no such archive, is
// damaged, or has 4 GiB or more.
std::vector<NpzArray> ListNpz(std::istream& file, const std::string& path);

// Returns the .npy file of an array. Throws `Failure` if it is damaged, or if this build cannot unpack.
std::string ReadNpz(std::istream& file, const std::string& path, const NpzArray& array);

}  // namespace Orvane::Cli
