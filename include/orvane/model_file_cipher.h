#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace Orvane {

/// The cipher of model files: a block cipher with a 4-byte key. Encrypted data has the same length. A file is encrypted
/// in independent chunks of `kChunkSize` bytes; the last chunk may be shorter.
///
/// The cipher loses bits of a chunk of 1 to 15 bytes, so `Decrypt` cannot restore it. This is deliberate: a better
/// cipher could not read existing files. `Decrypt` restores all chunks of 16 bytes and more.
struct ModelFileCipher {
    /// The size of a chunk in bytes: 4 MiB.
    static constexpr uint32_t kChunkSize = 4'194'304;

    /// Byte order of the cipher's words: 1 is little-endian (all model files), 0 is big-endian.
    uint8_t mode = 1;

    /// The key. A shorter key ends in zero bytes.
    std::array<uint8_t, 4> key{};

    /// Encrypts one chunk of `size` bytes in place.
    void Encrypt(uint8_t* chunk, uint32_t size) const;

    /// Decrypts one chunk of `size` bytes in place.
    void Decrypt(uint8_t* chunk, uint32_t size) const;

    /// Does the same as `Encrypt`. Returns false and leaves the chunk unchanged if `Decrypt` could not restore it.
    bool EncryptIfReversible(std::vector<uint8_t>& chunk) const;

    /// Pads a chunk of 1 to 15 bytes to 16 bytes: with blanks if it is text, and otherwise with zeros. Readers of
    /// models skip both. Returns the number of bytes that it added.
    static uint32_t Pad(std::vector<uint8_t>& chunk);
};

}  // namespace Orvane
