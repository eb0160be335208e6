#include "backends/openvino/encrypted_model_file.h"

#include "platform/memory.h"
#include "platform/path.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace Orvane {

namespace {

class EncryptedModelFile {
 public:
    explicit EncryptedModelFile(const std::string& path) {
        const std::filesystem::path file = Platform::PathFromUtf8(path);
        source.open(file, std::ios::binary);
        std::error_code error;
        const uint64_t fileSize = std::filesystem::file_size(file, error);
        size = error || !source ? 0 : fileSize;
    }

    uint64_t Size() const { return size; }

    // Fills `Size()` bytes of `memory`.
    void Read(uint8_t* memory, const ModelFileCipher& cipher) {
        for (uint64_t offset = 0; offset < size;) {
            const uint64_t wanted = std::min<uint64_t>(ModelFileCipher::kChunkSize, size - offset);
            uint8_t* const chunk = memory + offset;
            source.read(reinterpret_cast<char*>(chunk), static_cast<std::streamsize>(wanted));
            const auto count = static_cast<uint32_t>(source.gcount());
            cipher.Decrypt(chunk, count);
            offset += count;
            if (count < wanted) {  // the file is shorter now, or cannot be read
                std::memset(memory + offset, 0, size - offset);
                break;
            }
        }
    }

 private:
    std::ifstream source;
    uint64_t size = 0;
};

}  // namespace

std::string ReadEncryptedDescription(const std::string& path, const ModelFileCipher& cipher) {
    EncryptedModelFile file(path);
    std::string text(file.Size(), '\0');
    Platform::ExcludeFromCoreFiles(text.data(), text.size());
    file.Read(reinterpret_cast<uint8_t*>(text.data()), cipher);
    return text;
}

AlignedBuffer ReadEncryptedWeights(const std::string& path, const ModelFileCipher& cipher) {
    EncryptedModelFile file(path);
    AlignedBuffer bytes = AlignedBuffer::ForOverwrite(file.Size());
    Platform::ExcludeFromCoreFiles(bytes.Data(), bytes.Size());
    file.Read(bytes.Data(), cipher);
    return bytes;
}

}  // namespace Orvane
