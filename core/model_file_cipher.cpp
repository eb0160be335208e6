#include <orvane/model_file_cipher.h>

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Orvane {

namespace {

static_assert(std::endian::native == std::endian::little, "groups are copied as they lie in memory");

// Block sizes in bytes. Three rounds transform each block.
constexpr uint32_t kBlock = 256;
constexpr uint32_t kSmallBlock = 16;

// An encryption round rotates each 16-bit word to the left by this number of bits.
constexpr int kRotation = 3;

constexpr uint8_t kLittleEndian = 1;

// A group is 4 bytes of a block or of the key. The first byte is in the lowest bits.
uint32_t Load(const uint8_t* bytes) {
    uint32_t group = 0;
    std::memcpy(&group, bytes, sizeof group);
    return group;
}

void Store(uint8_t* bytes, uint32_t group) {
    std::memcpy(bytes, &group, sizeof group);
}

// Rotates both 16-bit words of a group to the left. The mode makes no difference here: it would swap a word's bytes,
// which is a rotation by 8.
template <int kBits>
uint32_t RotateWords(uint32_t group) {
    constexpr int kLeft = (kBits + 16) % 16;
    constexpr uint32_t kUpperBits = ((0xFFFFU << kLeft) & 0xFFFFU) * 0x0001'0001U;
    return (group << kLeft & kUpperBits) | (group >> (16 - kLeft) & ~kUpperBits);
}

// ((b0 * 31 + b1) * 31 + b2) * 31 + b3 over signed bytes, with 32-bit wrap-around. In this order the processor can
// compute both halves in parallel.
uint32_t Hash(uint32_t group) {
    constexpr uint32_t k = 31;
    const auto byte = [group](int index) { return static_cast<uint32_t>(static_cast<int8_t>(group >> 8 * index)); };
    return (byte(0) * (k * k * k) + byte(1) * (k * k)) + (byte(2) * k + byte(3));
}

uint32_t InByteOrderOf(uint32_t hash, uint8_t mode) {
    return mode == kLittleEndian ? hash : hash << 24 | (hash & 0xFF00) << 8 | (hash >> 8 & 0xFF00) | hash >> 24;
}

// Offset of a round's second group in the block: a multiple of 4, never 0.
template <uint32_t kSize>
uint32_t SecondPlace(uint32_t hash) {
    const uint32_t place = hash % (kSize - 4) & ~3U;
    return place == 0 ? 4 : place;
}

// The rule of a round: rotate the words of a group, then XOR the group with the round's mask. Several rounds together
// follow the same rule: their rotations add up, and their masks combine into one mask. So the rule runs over the block
// only once, at the end.
// The first group of the block, and the second group of each round, do not follow the rule. A round computes these two
// groups directly. For the second group it stores the value that the rule later turns into the correct one.

struct Rounds {
    uint32_t first = 0;  // the block's first group after the rounds so far
    uint32_t mask = 0;   // the combined mask of the rounds so far
};

template <uint32_t kSize, int kRound>
void DecryptRound(uint8_t* block, Rounds& rounds, uint32_t key, uint8_t mode) {
    constexpr int kTurn = -kRotation * kRound;
    rounds.first = RotateWords<-kRotation>(rounds.first) ^ key;
    uint8_t* const place = block + SecondPlace<kSize>(Hash(rounds.first));
    const uint32_t mask = RotateWords<-kRotation>(rounds.mask);
    const uint32_t second = RotateWords<kTurn>(Load(place)) ^ mask ^ rounds.first;
    rounds.mask = mask ^ InByteOrderOf(Hash(second), mode);
    Store(place, RotateWords<-kTurn>(second ^ rounds.mask));
}

template <uint32_t kSize, int kRound>
void EncryptRound(uint8_t* block, Rounds& rounds, uint32_t key, uint8_t mode) {
    constexpr int kTurn = kRotation * kRound;
    uint8_t* const place = block + SecondPlace<kSize>(Hash(rounds.first));
    const uint32_t second = RotateWords<kTurn - kRotation>(Load(place)) ^ rounds.mask;
    rounds.mask = RotateWords<kRotation>(rounds.mask ^ InByteOrderOf(Hash(second), mode));
    Store(place, RotateWords<-kTurn>(RotateWords<kRotation>(rounds.first ^ second) ^ rounds.mask));
    rounds.first = RotateWords<kRotation>(rounds.first ^ key);
}

// Applies the rule to a block after its rounds, which together rotate words by `kTurn` bits to the left.
template <uint32_t kSize, int kTurn>
void ApplyRule(uint8_t* block, const Rounds& rounds) {
    constexpr int kLeft = (kTurn + 16) % 16;
    const __m128i mask = _mm_set1_epi32(static_cast<int>(rounds.mask));
    for (uint32_t offset = 0; offset < kSize; offset += sizeof mask) {
        auto* const place = reinterpret_cast<__m128i*>(block + offset);
        const __m128i words = _mm_loadu_si128(place);
        const __m128i rotated = _mm_or_si128(_mm_slli_epi16(words, kLeft), _mm_srli_epi16(words, 16 - kLeft));
        _mm_storeu_si128(place, _mm_xor_si128(rotated, mask));
    }
    Store(block, rounds.first);
}

template <uint32_t kSize>
void DecryptBlock(uint8_t* block, uint32_t key, uint8_t mode) {
    Rounds rounds{Load(block)};
    DecryptRound<kSize, 1>(block, rounds, key, mode);
    DecryptRound<kSize, 2>(block, rounds, key, mode);
    DecryptRound<kSize, 3>(block, rounds, key, mode);
    ApplyRule<kSize, -3 * kRotation>(block, rounds);
}

template <uint32_t kSize>
void EncryptBlock(uint8_t* block, uint32_t key, uint8_t mode) {
    Rounds rounds{Load(block)};
    EncryptRound<kSize, 1>(block, rounds, key, mode);
    EncryptRound<kSize, 2>(block, rounds, key, mode);
    EncryptRound<kSize, 3>(block, rounds, key, mode);
    ApplyRule<kSize, 3 * kRotation>(block, rounds);
}

// Applies a transform to the full 256-byte blocks of a chunk, then to the full 16-byte blocks of the rest. Returns the
// number of bytes after these blocks: the tail.
using BlockTransform = void (*)(uint8_t* block, uint32_t key, uint8_t mode);
template <BlockTransform kLarge, BlockTransform kSmall>
uint32_t TransformBlocks(uint8_t* chunk, uint32_t size, const ModelFileCipher& cipher) {
    const uint32_t key = Load(cipher.key.data());
    uint32_t offset = 0;
    for (; size - offset >= kBlock; offset += kBlock) {
        kLarge(chunk + offset, key, cipher.mode);
    }
    for (; size - offset >= kSmallBlock; offset += kSmallBlock) {
        kSmall(chunk + offset, key, cipher.mode);
    }
    return size - offset;
}

// The shift deliberately copies the sign bit, so the tail's transform is not a rotation in either direction.
uint8_t ShiftSigned(uint8_t byte, int bits) {
    return static_cast<uint8_t>(static_cast<int8_t>(byte) >> bits);
}

}  // namespace

// Both loops over the tail deliberately compare a position in the chunk with a number of bytes. So they only transform
// the tail of a chunk that is shorter than one block, and `Encrypt` changes fewer bytes than `Decrypt`.

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

bool ModelFileCipher::EncryptIfReversible(std::vector<uint8_t>& chunk) const {
    const auto size = static_cast<uint32_t>(chunk.size());
    std::vector<uint8_t> secret = chunk;
    Encrypt(secret.data(), size);
    std::vector<uint8_t> back = secret;
    Decrypt(back.data(), size);
    if (back != chunk) {
        return false;
    }
    chunk = std::move(secret);
    return true;
}

uint32_t ModelFileCipher::Pad(std::vector<uint8_t>& chunk) {
    constexpr size_t kSmallestSafeChunk = 16;
    if (chunk.empty() || chunk.size() >= kSmallestSafeChunk) {
        return 0;
    }
    const size_t missing = kSmallestSafeChunk - chunk.size();
    const bool isText = std::all_of(chunk.begin(), chunk.end(), [](uint8_t byte) {
        return (byte >= 0x20 && byte != 0x7f) || (byte >= '\t' && byte <= '\r');
    });
    chunk.resize(kSmallestSafeChunk, isText ? ' ' : 0);
    return static_cast<uint32_t>(missing);
}

}  // namespace Orvane
