#pragma once

#include <orvane/model_file_cipher.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {

// The whole file at the UTF-8 `path`, deciphered. Empty when it cannot be opened or its size cannot be told; zeros
// from where a read failed. Held in memory once.
std::vector<uint8_t> ReadEncryptedModelFile(const std::string& path, const ModelFileCipher& cipher);

}  // namespace Orvane
