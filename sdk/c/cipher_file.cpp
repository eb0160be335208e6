#include "sdk/c/cipher_file.h"

#include "platform/whole_file.h"
#include "sdk/c/failure.h"

#include <cstdint>
#include <vector>

namespace Orvane::C {

void EncryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher, bool pad) {
    Platform::TransformFile(in, out, ModelFileCipher::kChunkSize, [&](std::vector<uint8_t>& chunk) {
        if (pad) {
            ModelFileCipher::Pad(chunk);
        }
        if (!cipher.EncryptIfItComesBack(chunk)) {
            throw Refused(in + " would not come back whole: its last 4 MiB chunk has only " +
                          std::to_string(chunk.size()) +
                          " bytes, and the format loses bits of a chunk of 1 to 15 bytes; set pad to fill that up to "
                          "16 bytes with blanks or zeros, which a reader of models skips");
        }
    });
}

void DecryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher) {
    Platform::TransformFile(in, out, ModelFileCipher::kChunkSize, [&](std::vector<uint8_t>& chunk) {
        cipher.Decrypt(chunk.data(), static_cast<uint32_t>(chunk.size()));
    });
}

}  // namespace Orvane::C
