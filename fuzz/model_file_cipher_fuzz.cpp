// The cipher of model files: it returns the same bytes as separate rounds, and decryption restores the file.
#include <orvane/model_file_cipher.h>

#include "fuzz/fuzz_target.h"

#include <cstring>
#include <memory>
#include <vector>

namespace Orvane {
namespace {

using Fuzz::Require;
using Bytes = std::vector<uint8_t>;

constexpr size_t kGroup = 4;
constexpr size_t kSmallBlock = 16;
constexpr size_t kBlock = 256;

// A block or a key, as groups of 4 bytes.
std::vector<uint32_t> Groups(const uint8_t* bytes, size_t size) {
    std::vector<uint32_t> groups(size / kGroup);
    std::memcpy(groups.data(), bytes, size);
    return groups;
}

uint32_t RotatedWords(uint32_t group) {
    const auto rotated = [](uint32_t word) { return (word << 3 | word >> 13) & 0xFFFF; };
    return rotated(group >> 16) << 16 | rotated(group & 0xFFFF);
}

uint32_t Hash(uint32_t group) {
    uint32_t hash = 0;
    for (size_t i = 0; i < kGroup; ++i) {
        hash = hash * 31 + static_cast<uint32_t>(static_cast<int8_t>(group >> 8 * i & 0xFF));
    }
    return hash;
}

uint32_t Reversed(uint32_t group) {
    return group << 24 | (group & 0xFF00) << 8 | (group >> 8 & 0xFF00) | group >> 24;
}

void EncryptBlock(uint8_t* block, size_t size, const ModelFileCipher& cipher) {
    const uint32_t key = Groups(cipher.key.data(), kGroup)[0];
    std::vector<uint32_t> groups = Groups(block, size);
    for (int round = 0; round < 3; ++round) {
        const uint32_t first = groups[0];
        const size_t place = Hash(first) % (size - kGroup) / kGroup;
        const size_t secondPlace = place == 0 ? 1 : place;
        const uint32_t second = groups[secondPlace];
        const uint32_t mask = cipher.mode == 1 ? Hash(second) : Reversed(Hash(second));
        for (uint32_t& group : groups) {
            group = RotatedWords(group ^ mask);
        }
        groups[0] = RotatedWords(first ^ key);
        groups[secondPlace] = RotatedWords(first ^ second);
    }
    std::memcpy(block, groups.data(), size);
}

// Encrypts a chunk of at least one block. The bytes after its last block stay unchanged.
Bytes Encrypted(Bytes chunk, const ModelFileCipher& cipher) {
    size_t offset = 0;
    for (; chunk.size() - offset >= kBlock; offset += kBlock) {
        EncryptBlock(&chunk[offset], kBlock, cipher);
    }
    for (; chunk.size() - offset >= kSmallBlock; offset += kSmallBlock) {
        EncryptBlock(&chunk[offset], kSmallBlock, cipher);
    }
    return chunk;
}

// Transforms the chunk in memory that begins `shift` bytes before it and ends with it.
Bytes Transformed(const Bytes& chunk, size_t shift, const ModelFileCipher& cipher,
                  decltype(&ModelFileCipher::Encrypt) transform) {
    const auto memory = std::make_unique<uint8_t[]>(shift + chunk.size());
    std::copy(chunk.begin(), chunk.end(), &memory[shift]);
    (cipher.*transform)(&memory[shift], static_cast<uint32_t>(chunk.size()));
    return {&memory[shift], &memory[shift] + chunk.size()};
}

void Check(Fuzz::Input input) {
    ModelFileCipher cipher;
    const uint32_t first = input.TakeNumber(1);
    cipher.mode = static_cast<uint8_t>(first & 1);
    const size_t shift = first >> 1 & 15;
    for (uint8_t& byte : cipher.key) {
        byte = static_cast<uint8_t>(input.TakeNumber(1));
    }
    const std::string text = input.TakeRun(SIZE_MAX);
    const Bytes chunk(text.begin(), text.end());
    const Bytes encrypted = Transformed(chunk, shift, cipher, &ModelFileCipher::Encrypt);
    const Bytes decrypted = Transformed(chunk, shift, cipher, &ModelFileCipher::Decrypt);
    if (chunk.size() >= kSmallBlock) {
        Require(encrypted == Encrypted(chunk, cipher), "both ways to encrypt have the same result");
        Require(Transformed(encrypted, 0, cipher, &ModelFileCipher::Decrypt) == chunk,
                "decrypting restores an encrypted chunk");
        Require(Encrypted(decrypted, cipher) == chunk, "encrypting restores a decrypted chunk");
    } else {
        Require(std::equal(chunk.begin() + static_cast<std::ptrdiff_t>(chunk.size() / 2), chunk.end(),
                           encrypted.begin() + static_cast<std::ptrdiff_t>(chunk.size() / 2)),
                "a chunk without a block keeps its second half");
    }
}

}  // namespace
}  // namespace Orvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Orvane::Check({data, size});
    return 0;
}
