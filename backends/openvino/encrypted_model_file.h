#pragma once

#include <orvane/model_file_cipher.h>

#include "backends/openvino/aligned_buffer.h"

#include <string>

namespace Orvane {

// The whole file at the UTF-8 `path`, deciphered: a model's description as text, its weights as bytes. Empty when it
// cannot be opened or its size cannot be told; zeros from where a read failed. Held in memory once.
std::string ReadEncryptedDescription(const std::string& path, const ModelFileCipher& cipher);
AlignedBuffer ReadEncryptedWeights(const std::string& path, const ModelFileCipher& cipher);

}  // namespace Orvane
