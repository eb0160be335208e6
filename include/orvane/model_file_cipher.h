#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace Orvane {

/// The cipher of model files at rest: a block cipher with a 4-byte key that keeps the length. A file is
/// transformed in chunks of `kChunkSize` bytes, each on its own, the last one shorter.
///
/// A chunk of 1 to 15 bytes does not come back whole from `Encrypt` and `Decrypt`: the rule for its bytes
/// loses bits, deliberately kept. Lengths of 16 bytes and more always come back.
struct ModelFileCipher {
    /// 4 MiB, in bytes.
    static constexpr uint32_t kChunkSize = 4'194'304;

    /// Order of bytes in the cipher's words: 1 little-endian, which all model files use, 0 big-endian.
    uint8_t mode = 1;

    /// A key text shorter than 4 bytes is filled up with zero bytes.
    std::array<uint8_t, 4> key{};

    /// Transform `size` bytes in place, at most `kChunkSize`.
    void Encrypt(uint8_t* chunk, uint32_t size) const;
    void Decrypt(uint8_t* chunk, uint32_t size) const;

    /// As `Encrypt`, unless the chunk would not come back whole: false, and the chunk is as it was.
    bool EncryptIfItComesBack(std::vector<uint8_t>& chunk) const;

    /// Fills up a chunk of 1 to 15 bytes to 16, with blanks when it is text and with zeros when it is not: a reader of
    /// models skips both. Returns how many bytes it added.
    static uint32_t Pad(std::vector<uint8_t>& chunk);
};

}  // namespace Orvane
