#pragma once

#include <orvane/model_file_cipher.h>

#include "backends/openvino/aligned_buffer.h"

#include <string>

namespace Orvane {

// Return the whole decrypted file at `path` (UTF-8): a model's description as text, its weights as bytes. The result is
// empty if the file cannot be opened or its size is unknown. If a read fails, the rest is zeros. These functions keep
// only one copy of the file in memory.
std::string ReadEncryptedDescription(const std::string& path, const ModelFileCipher& cipher);
AlignedBuffer ReadEncryptedWeights(const std::string& path, const ModelFileCipher& cipher);

}  // namespace Orvane
