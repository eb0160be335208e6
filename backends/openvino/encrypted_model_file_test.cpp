// Tests the cipher of model files and the functions that read encrypted files.
#include "backends/openvino/encrypted_model_file.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace Orvane {
namespace {

using Bytes = std::vector<uint8_t>;

const ModelFileCipher kLittle{1, {'K', 'e', 'y', '!'}};
const ModelFileCipher kBig{0, {'K', 'e', 'y', '!'}};
constexpr size_t kChunk = 4 << 20;

// No two chunks are equal.
Bytes Pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 4097 + size);
    }
    return bytes;
}

Bytes Transformed(Bytes bytes, const ModelFileCipher& cipher, decltype(&ModelFileCipher::Encrypt) transform) {
    (cipher.*transform)(bytes.data(), static_cast<uint32_t>(bytes.size()));
    return bytes;
}

// The hexadecimal digits of a short result, or the FNV-1a digest of a long result.
std::string Shown(const Bytes& bytes) {
    const std::string digits = "0123456789abcdef";
    std::string hex;
    uint32_t digest = 0x811C9DC5;
    for (const uint8_t byte : bytes) {
        digest = (digest ^ byte) * 0x01000193;
    }
    if (bytes.size() > 20) {
        return std::to_string(digest);
    }
    for (const uint8_t byte : bytes) {
        hex += digits[byte >> 4];
        hex += digits[byte & 15];
    }
    return hex;
}

// testing/support/cipher_vectors.py computes the expected results. The fuzz target shows that every chunk of at least
// one block is restored.
TEST(ModelFileCipher, MatchesTheReferenceVectors) {
    const std::tuple<size_t, ModelFileCipher, std::string, std::string> cases[] = {
        // Tails alone, blocks in both modes, a block and an unchanged tail, large blocks.
        {1, kLittle, "49", "01"},
        {10, kLittle, "288e2cc7ad09a9432185", "1bedb9d97a2d343b4249"},
        {16, kLittle, "7cacc16e0b0b7155d38c7b6e06c7d6fe", "66ce899b6317ca68d0d430936ab132a5"},
        {16, kBig, "7cacc16e567504805a561756d263cf13", "66ce899bfd0ad7f64587311761ff2ebf"},
        {20, kLittle, "7aaec770c85acacbf7c2d12ae9d0df3c848b9299", "7ec691e3811a9066b8939563c0dbad3b848b9299"},
        {300, kLittle, "3425212271", "686197923"},
        {600, kBig, "791234315", "2388427947"},
    };
    for (const auto& [size, cipher, decrypted, encrypted] : cases) {
        EXPECT_EQ(Shown(Transformed(Pattern(size), cipher, &ModelFileCipher::Decrypt)), decrypted) << size;
        EXPECT_EQ(Shown(Transformed(Pattern(size), cipher, &ModelFileCipher::Encrypt)), encrypted) << size;
    }
}

TEST(EncryptedModelFile, ReadsFilesOfEverySize) {
    const Testing::TemporaryFolder folder;
    for (const size_t size : {size_t{100}, kChunk, 2 * kChunk - 1, 2 * kChunk, 5 * kChunk + 777}) {
        const Bytes plain = Pattern(size);
        Bytes stored = plain;
        for (size_t offset = 0; offset < size; offset += kChunk) {
            kLittle.Encrypt(&stored[offset], static_cast<uint32_t>(std::min(size - offset, kChunk)));
        }
        const std::string path = folder.Write("权重", {stored.begin(), stored.end()});
        AlignedBuffer weights = ReadEncryptedWeights(path, kLittle);
        EXPECT_TRUE(Bytes(weights.Data(), weights.Data() + weights.Size()) == plain) << size;
        EXPECT_TRUE(ReadEncryptedDescription(path, kLittle) == std::string(plain.begin(), plain.end())) << size;
    }
    EXPECT_EQ(ReadEncryptedWeights(folder.Path("missing"), kLittle).Size(), 0U);
    // Only the last 10 bytes show where a chunk begins: they belong to a large chunk, or are a separate chunk.
    // cipher_vectors.py computes these expected results too.
    for (const auto& [size, digest] : {std::pair(kChunk / 2 + 10, "2142273652"), {kChunk + 10, "2246045811"}}) {
        const Bytes stored = Pattern(size);
        const std::string path = folder.Write("权重", {stored.begin(), stored.end()});
        AlignedBuffer weights = ReadEncryptedWeights(path, kLittle);
        EXPECT_EQ(Shown(Bytes(weights.Data(), weights.Data() + weights.Size())), digest) << size;
    }
}

}  // namespace
}  // namespace Orvane
