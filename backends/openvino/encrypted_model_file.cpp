#include "backends/openvino/encrypted_model_file.h"

#include "platform/path.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace Orvane {

std::vector<uint8_t> ReadEncryptedModelFile(const std::string& path, const ModelFileCipher& cipher) {
    const std::filesystem::path file = Platform::PathFromUtf8(path);
    std::ifstream source(file, std::ios::binary);
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(file, error);
    if (error || !source) {
        return {};
    }

    std::vector<uint8_t> bytes(size);
    for (uint64_t offset = 0; offset < size;) {
        const uint64_t wanted = std::min<uint64_t>(ModelFileCipher::kChunkSize, size - offset);
        uint8_t* const chunk = bytes.data() + offset;
        source.read(reinterpret_cast<char*>(chunk), static_cast<std::streamsize>(wanted));
        const auto count = static_cast<uint32_t>(source.gcount());
        cipher.Decrypt(chunk, count);
        if (count < wanted) {
            break;  // the file has become shorter meanwhile, or cannot be read
        }
        offset += count;
    }
    return bytes;
}

}  // namespace Orvane
