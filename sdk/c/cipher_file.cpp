#include "sdk/c/cipher_file.h"

#include "platform/path.h"
#include "platform/whole_file.h"
#include "sdk/c/failure.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <system_error>
#include <vector>

namespace Orvane::C {

namespace {

using Chunk = std::vector<uint8_t>;

void Transform(const std::string& in, const std::string& out, const FileProgress& progress,
               const std::function<void(Chunk& chunk)>& transform) {
    std::error_code unknown;
    const auto size = std::filesystem::file_size(Platform::PathFromUtf8(in), unknown);
    const uint64_t total = unknown ? 0 : size;
    uint64_t done = 0;
    Platform::TransformFile(in, out, ModelFileCipher::kChunkSize, [&](Chunk& chunk) {
        if (progress.progress != nullptr && progress.progress(progress.user, done, total) != 0) {
            throw Failure(ORVANE_CANCELLED, "the progress function cancelled the call; " + out + " was not written");
        }
        done += chunk.size();
        transform(chunk);
    });
}

// The runtime reads an encrypted model from memory, as a description and weights. Other formats do not allow this.
void RefuseOtherFormats(const std::string& path) {
    std::string ending = Platform::Utf8FromPath(Platform::PathFromUtf8(path).extension());
    std::transform(ending.begin(), ending.end(), ending.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    for (const char* other : {".tflite", ".pb", ".pdmodel", ".pdiparams"}) {
        if (ending == other) {
            throw Refused(path +
                          " cannot be encrypted: only .onnx, and .xml with its .bin, can be read encrypted; "
                          "write the model as .xml first");
        }
    }
}

}  // namespace

void EncryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher, bool pad,
                 const FileProgress& progress) {
    RefuseOtherFormats(in);
    Transform(in, out, progress, [&](Chunk& chunk) {
        if (pad) {
            ModelFileCipher::Pad(chunk);
        }
        if (!cipher.EncryptIfReversible(chunk)) {
            throw Refused(in + " cannot be restored after encryption: its last piece of 4 MiB has only " +
                          std::to_string(chunk.size()) +
                          " bytes, and the cipher needs 16; pad it with blanks or zeros, which readers of models skip");
        }
    });
}

void DecryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher,
                 const FileProgress& progress) {
    Transform(in, out, progress,
              [&](Chunk& chunk) { cipher.Decrypt(chunk.data(), static_cast<uint32_t>(chunk.size())); });
}

}  // namespace Orvane::C
