#include "backends/openvino/encrypted_model_file.h"

#include "platform/path.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>

namespace Orvane {

namespace {

// Reads and deciphers bytes `first` to `end` of a file; `first` is where a chunk starts.
void ReadPart(const std::filesystem::path& file, uint64_t first, uint64_t end, uint8_t* memory,
              const ModelFileCipher& cipher) {
    std::ifstream source(file, std::ios::binary);
    source.seekg(static_cast<std::streamoff>(first));
    for (uint64_t offset = first; offset < end;) {
        const uint64_t wanted = std::min<uint64_t>(ModelFileCipher::kChunkSize, end - offset);
        uint8_t* const chunk = memory + (offset - first);
        source.read(reinterpret_cast<char*>(chunk), static_cast<std::streamsize>(wanted));
        const auto count = static_cast<uint32_t>(source.gcount());
        cipher.Decrypt(chunk, count);
        offset += count;
        if (count < wanted) {  // the file has become shorter meanwhile, or cannot be read
            std::memset(memory + (offset - first), 0, end - offset);
            break;
        }
    }
}

class EncryptedModelFile {
 public:
    explicit EncryptedModelFile(const std::string& path) : file(Platform::PathFromUtf8(path)) {
        const std::ifstream source(file, std::ios::binary);
        std::error_code error;
        const uint64_t fileSize = std::filesystem::file_size(file, error);
        size = error || !source ? 0 : fileSize;
    }

    uint64_t Size() const { return size; }

    // Fills `Size()` bytes of `memory`. Large files are done in two halves at once: deciphering takes as long as
    // reading.
    void Read(uint8_t* memory, const ModelFileCipher& cipher) const {
        const uint64_t middle = size / 2 / ModelFileCipher::kChunkSize * ModelFileCipher::kChunkSize;
        std::future<void> firstHalf;
        if (middle > 0) {
            // Without a policy of its own: where there is no thread to be had, `wait` does the work.
            firstHalf = std::async([&, middle] { ReadPart(file, 0, middle, memory, cipher); });
        }
        ReadPart(file, middle, size, memory + middle, cipher);
        if (firstHalf.valid()) {
            firstHalf.wait();
        }
    }

 private:
    std::filesystem::path file;
    uint64_t size = 0;
};

}  // namespace

std::string ReadEncryptedDescription(const std::string& path, const ModelFileCipher& cipher) {
    const EncryptedModelFile file(path);
    std::string text(file.Size(), '\0');
    file.Read(reinterpret_cast<uint8_t*>(text.data()), cipher);
    return text;
}

AlignedBuffer ReadEncryptedWeights(const std::string& path, const ModelFileCipher& cipher) {
    const EncryptedModelFile file(path);
    AlignedBuffer bytes = AlignedBuffer::ForOverwrite(file.Size());
    file.Read(bytes.Data(), cipher);
    return bytes;
}

}  // namespace Orvane
