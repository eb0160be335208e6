#include <orvane/model_file_cipher.h>

#include <array>
#include <bit>
#include <cstring>

namespace Orvane {

namespace {

static_assert(std::endian::native == std::endian::little, "words are copied as they lie in memory");

using Group = std::array<uint8_t, 4>;

// Block sizes in bytes. A block is transformed three times.
constexpr uint32_t kBlock = 256;
constexpr uint32_t kSmallBlock = 16;
constexpr int kRounds = 3;

constexpr uint8_t kLittleEndian = 1;

Group Load(const uint8_t* bytes) {
    return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

void Store(uint8_t* bytes, const Group& group) {
    std::memcpy(bytes, group.data(), group.size());
}

Group Xor(Group left, const Group& right) {
    for (size_t i = 0; i < left.size(); ++i) {
        left[i] = static_cast<uint8_t>(left[i] ^ right[i]);
    }
    return left;
}

// Over signed bytes, with 32-bit wrap-around.
uint32_t Hash(const Group& group) {
    uint32_t hash = 0;
    for (const uint8_t byte : group) {
        hash = hash * 31 + static_cast<uint32_t>(static_cast<int8_t>(byte));
    }
    return hash;
}

uint32_t SwapBytes(uint32_t value) {
    return value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
}

uint16_t SwapBytes(uint16_t value) {
    return static_cast<uint16_t>(value << 8 | value >> 8);
}

// Place of the second key group of a block: a multiple of 4, never 0.
template <uint32_t kSize>
uint32_t SecondGroup(uint32_t hash) {
    const uint32_t place = hash % (kSize - 4) & ~3U;
    return place == 0 ? 4 : place;
}

template <uint32_t kSize>
void RotateWords(uint8_t* block, int leftBits, uint8_t mode) {
    std::array<uint16_t, kSize / 2> words{};
    std::memcpy(words.data(), block, kSize);
    for (uint16_t& word : words) {
        word = mode == kLittleEndian ? std::rotl(word, leftBits) : SwapBytes(std::rotl(SwapBytes(word), leftBits));
    }
    std::memcpy(block, words.data(), kSize);
}

template <uint32_t kSize>
void XorGroups(uint8_t* block, uint32_t hash, uint8_t mode) {
    const uint32_t mask = mode == kLittleEndian ? hash : SwapBytes(hash);
    std::array<uint32_t, kSize / 4> groups{};
    std::memcpy(groups.data(), block, kSize);
    for (uint32_t& group : groups) {
        group ^= mask;
    }
    std::memcpy(block, groups.data(), kSize);
}

template <uint32_t kSize>
void DecryptBlock(uint8_t* block, const ModelFileCipher& cipher) {
    RotateWords<kSize>(block, -3, cipher.mode);
    const Group stored = Load(block);
    const Group first = Xor(stored, cipher.key);
    uint8_t* const place = block + SecondGroup<kSize>(Hash(first));
    const Group second = Xor(Xor(stored, Load(place)), cipher.key);
    XorGroups<kSize>(block, Hash(second), cipher.mode);
    Store(block, first);
    Store(place, second);
}

template <uint32_t kSize>
void EncryptBlock(uint8_t* block, const ModelFileCipher& cipher) {
    const Group first = Load(block);
    uint8_t* const place = block + SecondGroup<kSize>(Hash(first));
    const Group second = Load(place);
    XorGroups<kSize>(block, Hash(second), cipher.mode);
    Store(block, Xor(first, cipher.key));
    Store(place, Xor(first, second));
    RotateWords<kSize>(block, 3, cipher.mode);
}

// Applies a transform to the full 256-byte blocks of a chunk, then to the full 16-byte blocks of the rest.
// Returns the number of bytes that are left behind them.
template <void (*kLarge)(uint8_t*, const ModelFileCipher&), void (*kSmall)(uint8_t*, const ModelFileCipher&)>
uint32_t TransformBlocks(uint8_t* chunk, uint32_t size, const ModelFileCipher& cipher) {
    uint32_t offset = 0;
    for (; size - offset >= kBlock; offset += kBlock) {
        for (int round = 0; round < kRounds; ++round) {
            kLarge(chunk + offset, cipher);
        }
    }
    for (; size - offset >= kSmallBlock; offset += kSmallBlock) {
        for (int round = 0; round < kRounds; ++round) {
            kSmall(chunk + offset, cipher);
        }
    }
    return size - offset;
}

// The shift deliberately fills with copies of the sign bit, so that neither direction of the tail is a rotation.
uint8_t ShiftSigned(uint8_t byte, int bits) {
    return static_cast<uint8_t>(static_cast<int8_t>(byte) >> bits);
}

}  // namespace

// Both tails compare a place in the chunk with a number of bytes, deliberately: only a chunk that is shorter than
// one block has a tail that is transformed, and the two directions do not cover the same bytes.

void ModelFileCipher::Decrypt(uint8_t* chunk, uint32_t size) const {
    const uint32_t tail = TransformBlocks<DecryptBlock<kBlock>, DecryptBlock<kSmallBlock>>(chunk, size, *this);
    for (uint32_t i = size - tail; i < tail; ++i) {
        const auto byte = static_cast<uint8_t>(chunk[i] ^ key[i % 4]);
        chunk[i] = static_cast<uint8_t>(ShiftSigned(byte, 3) | byte << 5);
    }
}

void ModelFileCipher::Encrypt(uint8_t* chunk, uint32_t size) const {
    const uint32_t tail = TransformBlocks<EncryptBlock<kBlock>, EncryptBlock<kSmallBlock>>(chunk, size, *this);
    for (uint32_t i = size - tail; i < tail / 2; ++i) {
        const auto shifted = static_cast<uint8_t>(ShiftSigned(chunk[i], 5) | chunk[i] << 3);
        chunk[i] = static_cast<uint8_t>(shifted ^ key[i % 4]);
    }
}

}  // namespace Orvane
