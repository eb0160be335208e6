#include <orvane/model_file_cipher.h>

#include "backends/openvino/encrypted_model_file.h"
#include "testing/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + size);
    }
    return bytes;
}

Bytes Transformed(Bytes bytes, const ModelFileCipher& cipher,
                  void (ModelFileCipher::*transform)(uint8_t*, uint32_t) const) {
    (cipher.*transform)(bytes.data(), static_cast<uint32_t>(bytes.size()));
    return bytes;
}

// FNV-1a, to compare long results.
uint32_t Digest(const Bytes& bytes) {
    uint32_t digest = 0x811C9DC5;
    for (const uint8_t byte : bytes) {
        digest = (digest ^ byte) * 0x01000193;
    }
    return digest;
}

std::string Hex(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

const ModelFileCipher kLittle{1, {'K', 'e', 'y', '!'}};
const ModelFileCipher kBig{0, {'K', 'e', 'y', '!'}};

TEST(ModelFileCipher, TransformsChunksToTheBit) {
    struct Case {
        size_t size;
        const ModelFileCipher& cipher;
        const char* decrypted;
        const char* encrypted;
    };
    // One block of 16 bytes, a block and an untouched tail, and a tail alone, the latter in both its halves.
    const Case cases[] = {
        {1, kLittle, "49", "01"},
        {10, kLittle, "288e2cc7ad09a9432185", "1bedb9d97a2d343b4249"},
        {16, kLittle, "7cacc16e0b0b7155d38c7b6e06c7d6fe", "66ce899b6317ca68d0d430936ab132a5"},
        {16, kBig, "7cacc16e567504805a561756d263cf13", "66ce899bfd0ad7f64587311761ff2ebf"},
        {20, kLittle, "7aaec770c85acacbf7c2d12ae9d0df3c848b9299", "7ec691e3811a9066b8939563c0dbad3b848b9299"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Hex(Transformed(Pattern(c.size), c.cipher, &ModelFileCipher::Decrypt)), c.decrypted) << c.size;
        EXPECT_EQ(Hex(Transformed(Pattern(c.size), c.cipher, &ModelFileCipher::Encrypt)), c.encrypted) << c.size;
    }

    struct LongCase {
        size_t size;
        const ModelFileCipher& cipher;
        uint32_t decrypted;
        uint32_t encrypted;
    };
    const LongCase longCases[] = {{256, kLittle, 0x4280A513U, 0x66748D14U}, {256, kBig, 0x44A23FBFU, 0x15289474U},
                                  {300, kLittle, 0xCC28976FU, 0x28E68CA3U}, {300, kBig, 0xD5F1758FU, 0xC3E780E3U},
                                  {600, kLittle, 0x22943113U, 0xF9A77D5FU}, {600, kBig, 0x2F29470BU, 0x8E5C84ABU}};
    for (const LongCase& c : longCases) {
        EXPECT_EQ(Digest(Transformed(Pattern(c.size), c.cipher, &ModelFileCipher::Decrypt)), c.decrypted) << c.size;
        EXPECT_EQ(Digest(Transformed(Pattern(c.size), c.cipher, &ModelFileCipher::Encrypt)), c.encrypted) << c.size;
    }
}

TEST(ModelFileCipher, EveryChunkOfABlockOrMoreComesBack) {
    for (const ModelFileCipher& cipher : {kLittle, kBig, ModelFileCipher{}}) {
        for (size_t size = 16; size < 800; ++size) {
            const Bytes encrypted = Transformed(Pattern(size), cipher, &ModelFileCipher::Encrypt);
            ASSERT_EQ(Transformed(encrypted, cipher, &ModelFileCipher::Decrypt), Pattern(size)) << size;
        }
    }
}

TEST(EncryptedModelFile, IsReadInChunks) {
    const Testing::TemporaryFolder folder;
    for (const size_t size :
         {size_t{0}, size_t{ModelFileCipher::kChunkSize}, size_t{ModelFileCipher::kChunkSize} + 5}) {
        Bytes expected = Pattern(size);
        const std::string path = folder.Write("权重.bin", expected);
        const size_t head = std::min<size_t>(size, ModelFileCipher::kChunkSize);
        kLittle.Decrypt(expected.data(), static_cast<uint32_t>(head));
        kLittle.Decrypt(expected.data() + head, static_cast<uint32_t>(size - head));
        EXPECT_EQ(ReadEncryptedModelFile(path, kLittle), expected) << size;
    }
    EXPECT_TRUE(ReadEncryptedModelFile(folder.Path("missing"), kLittle).empty());
    EXPECT_TRUE(ReadEncryptedModelFile(folder.Path(""), kLittle).empty()) << "a folder has no size";
}

}  // namespace
}  // namespace Orvane
