#include "sdk/c/cipher_file.h"

#include "platform/input_file.h"
#include "platform/whole_file.h"
#include "sdk/c/failure.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <vector>

namespace Orvane::C {

namespace {

constexpr size_t kSmallestSafeChunk = 16;

using Chunk = std::vector<uint8_t>;

bool IsText(const Chunk& chunk) {
    return std::all_of(chunk.begin(), chunk.end(),
                       [](uint8_t byte) { return (byte >= 0x20 && byte != 0x7f) || (byte >= '\t' && byte <= '\r'); });
}

// Fills up a chunk that is too short; a reader of models skips blanks behind a text and zeros behind weights.
void Pad(Chunk& chunk) {
    if (!chunk.empty() && chunk.size() < kSmallestSafeChunk) {
        chunk.resize(kSmallestSafeChunk, IsText(chunk) ? ' ' : 0);
    }
}

void Encrypt(const ModelFileCipher& cipher, Chunk& chunk, const std::string& path) {
    const Chunk plain = chunk;
    const auto size = static_cast<uint32_t>(chunk.size());
    cipher.Encrypt(chunk.data(), size);
    Chunk back = chunk;
    cipher.Decrypt(back.data(), size);
    if (back != plain) {
        throw Refused(path + " would not come back whole: its last 4 MiB chunk has only " + std::to_string(size) +
                      " bytes, and the format loses bits of a chunk of 1 to 15 bytes; set pad to fill that up to 16 "
                      "bytes with blanks or zeros, which a reader of models skips");
    }
}

template <typename Transform>
void TransformFile(const std::string& in, const std::string& out, Transform transform) {
    std::ifstream input = Platform::OpenInputFile(in);
    Platform::WholeFile output(out, in);
    Chunk chunk;
    do {
        chunk.resize(ModelFileCipher::kChunkSize);
        chunk.resize(Platform::ReadUpTo(input, in, chunk.data(), chunk.size()));
        transform(chunk);
        output.Write(chunk.data(), chunk.size());
    } while (chunk.size() == ModelFileCipher::kChunkSize);
    input.close();  // the output may take the input's place
    output.Close();
    output.Commit();
}

}  // namespace

void EncryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher, bool pad) {
    TransformFile(in, out, [&](Chunk& chunk) {
        if (pad) {
            Pad(chunk);
        }
        Encrypt(cipher, chunk, in);
    });
}

void DecryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher) {
    TransformFile(in, out, [&](Chunk& chunk) { cipher.Decrypt(chunk.data(), static_cast<uint32_t>(chunk.size())); });
}

}  // namespace Orvane::C
