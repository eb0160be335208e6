#include <orvane/option_v2.h>

#include "testing/captured_log.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane {
namespace {

using namespace std::string_literals;

// Lets `Deserialize` read exactly the form and the one byte behind it that it may read; the sanitizers see any other.
bool Load(OptionV2& option, const std::string& form) {
    const auto block = std::make_unique<char[]>(form.size() + 1);
    std::memcpy(block.get(), form.data(), form.size());
    return option.Deserialize(block.get(), form.size());
}

std::string Flat(const OptionV2& option) {
    std::string form(option.Serialize(nullptr, 0), '\0');
    EXPECT_EQ(option.Serialize(form.data(), form.size()), form.size());
    return form;
}

// The bytes that hexadecimal digits spell; blanks do not count.
std::string Bytes(std::string_view digits) {
    std::string bytes;
    std::istringstream words{std::string(digits)};
    for (std::string word; words >> word;) {
        for (size_t i = 0; i < word.size(); i += 2) {
            bytes += static_cast<char>(std::stoi(word.substr(i, 2), nullptr, 16));
        }
    }
    return bytes;
}

// One entry of every type in key order: "B" sorts before "a", and "a" before "ab".
const std::string kEveryType = Bytes(
    "0700000000000000 "
    "0100000000000000 42 06 03000000 FF007F "
    "0100000000000000 61 00 01 "
    "0200000000000000 6162 01 0000C03F "
    "0100000000000000 64 02 00000000000004C0 "
    "0100000000000000 69 03 FEFFFFFF "
    "0100000000000000 6C 04 0000000001000000 "
    "0100000000000000 73 05 0600000000000000 E4B8ADE69687 ");

OptionHandle EveryType() {
    static const unsigned char bytes[] = {0xff, 0, 0x7f};
    OptionHandle option = CreateOption();
    option->SetString("s", "中文");
    option->SetInt64("l", int64_t{1} << 32);
    option->SetInt("i", -2);
    option->SetDouble("d", -2.5);
    option->SetFloat("ab", 1.5F);
    option->SetBool("a", true);
    option->SetBuffer("B", bytes, sizeof bytes);
    return option;
}

TEST(OptionV2, FlatFormIsExactInBothDirections) {
    EXPECT_EQ(Flat(*EveryType()), kEveryType);
    const OptionHandle loaded = CreateOption();
    ASSERT_TRUE(Load(*loaded, kEveryType));
    EXPECT_EQ(Flat(*loaded), kEveryType);
    uint32_t size = 0;
    ASSERT_NE(loaded->GetBuffer("B", size), nullptr);
    EXPECT_EQ(size, 3U);

    EXPECT_EQ(Flat(*CreateOption()), std::string(8, '\0'));
    std::string room(kEveryType.size(), '\0');
    for (size_t capacity = 0; capacity < kEveryType.size(); ++capacity) {
        EXPECT_EQ(EveryType()->Serialize(room.data(), capacity), 0U) << capacity;
    }
}

TEST(OptionV2, EveryPrefixAndBitFlipOfAFormIsSurvived) {
    const OptionHandle option = CreateOption();
    for (size_t size = 0; size < kEveryType.size(); ++size) {
        EXPECT_FALSE(Load(*option, kEveryType.substr(0, size))) << size;
    }
    for (size_t bit = 0; bit < kEveryType.size() * 8; ++bit) {
        std::string form = kEveryType;
        form[bit / 8] = static_cast<char>(form[bit / 8] ^ (1 << bit % 8));
        if (Load(*option, form)) {
            const OptionHandle again = CreateOption();
            EXPECT_TRUE(Load(*again, Flat(*option))) << bit;
        }
    }
}

TEST(OptionV2, OddEntriesOfAFormAreReadAsProducersRelyOn) {
    const OptionHandle option = CreateOption();
    option->SetInt("old", 1);
    EXPECT_FALSE(Load(*option, std::string(7, '\0')));
    EXPECT_EQ(Flat(*option), std::string(8, '\0')) << "a failed load leaves nothing of the old content";

    uint32_t size = 9;
    bool found = false;
    for (const char* length : {"00000000", "FFFFFFFF"}) {
        ASSERT_TRUE(Load(*option, Bytes("0100000000000000 0100000000000000 6B 06 "s + length)));
        EXPECT_EQ(option->GetBuffer("k", size), nullptr);
        EXPECT_EQ(size, 0U);
        EXPECT_FALSE(option->GetBool("k", true, &found));
        EXPECT_TRUE(found) << "a buffer without bytes leaves its key with the boolean false";
    }

    // An unknown tag stores nothing and consumes no value; reading goes on right behind it.
    ASSERT_TRUE(Load(*option, Bytes("0200000000000000 0100000000000000 6B 07 0100000000000000 6D 00 01")));
    EXPECT_TRUE(option->GetBool("m", false));
    EXPECT_FALSE(option->GetBool("k", false, &found));
    EXPECT_FALSE(found);
    // A key that ends the form: the tag is the byte behind it, here 0, and its value is missing.
    EXPECT_FALSE(Load(*option, Bytes("0100000000000000 0100000000000000 6B")));
}

TEST(OptionV2, GettersConvertOnlyWhereTheyShould) {
    const OptionHandle option = EveryType();
    bool found = false;
    EXPECT_EQ(option->GetInt64("i", 0, &found), -2);
    EXPECT_TRUE(found);
    EXPECT_EQ(option->GetInt("l", 77, &found), 77);
    EXPECT_FALSE(found);
    EXPECT_EQ(option->GetInt64("l", 0), int64_t{1} << 32);
    EXPECT_EQ(option->GetFloat("d", 0, &found), -2.5F);
    EXPECT_TRUE(found);
    EXPECT_EQ(option->GetDouble("ab", 0, &found), 1.5);
    EXPECT_TRUE(found);
    EXPECT_EQ(option->GetDouble("i", 0.5, &found), 0.5);
    EXPECT_FALSE(found);
    EXPECT_EQ(option->GetFloat("missing", 0.25F, &found), 0.25F);
    EXPECT_FALSE(found);
    EXPECT_TRUE(option->GetBool("i", true, &found));
    EXPECT_FALSE(found);
    EXPECT_STREQ(option->GetString("i"), "");
    EXPECT_STREQ(option->GetString("s"), "中文");
    uint32_t size = 9;
    EXPECT_EQ(option->GetBuffer("s", size), nullptr);
    EXPECT_EQ(size, 0U);
}

TEST(OptionV2, BuffersAreTheCallersUntilTheyComeFromAForm) {
    const OptionHandle option = CreateOption();
    const char bytes[] = "caller's";
    uint32_t size = 0;
    option->SetBuffer("B", bytes, 4);
    option->SetBuffer("B", nullptr, 9);
    option->SetString("s", nullptr);
    EXPECT_EQ(option->GetBuffer("B", size), bytes);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(option->Serialize(nullptr, 0), 8U + 8 + 1 + 1 + 4 + 4) << "a null text stores no key";

    ASSERT_TRUE(Load(*option, kEveryType));
    const auto* owned = static_cast<const unsigned char*>(option->GetBuffer("B", size));
    option->SetBuffer("B", bytes, 4);
    EXPECT_EQ(owned[2], 0x7f) << "a buffer that replaces a buffer does not free its bytes";
    option->SetInt("B", 1);
    EXPECT_EQ(option->GetBuffer("B", size), nullptr);
}

TEST(OptionV2, ParamsTravelThroughTheSetByFramework) {
    InterpreterParams params;
    params.framework = FrameworkTypeOpenvino;
    params.host = "host.exe";
    params.modelPath = "模型/";
    params.modelName = "m.xml";
    params.libraryPath = "lib";
    params.openvinoDevice = "CPU";
    params.openvinoCachePath = "cache";
    params.openvinoMakeCache = true;
    params.openvinoMakeEncrypted = true;
    params.openvinoMakeEncryptedKey = {'a', 'b', 0, 'd'};
    params.qnnStubPath = "stub";
    params.qnnSystemPath = "system";
    params.qnnFromCache = true;
    params.qnnOutputPath = "output";

    OptionHandle option = CreateOption();
    option->FromParams(params);
    InterpreterParams back;
    back.openvinoMakeEncryptedKey = {'w', 'x', 'y', 'z'};
    ASSERT_TRUE(option->ToParams(back).Ok());
    EXPECT_EQ(back.host + back.modelPath + back.modelName + back.libraryPath, "host.exe模型/m.xmllib");
    EXPECT_EQ(back.openvinoDevice + back.openvinoCachePath, "CPUcache");
    EXPECT_TRUE(back.openvinoMakeCache && back.openvinoMakeEncrypted);
    EXPECT_EQ(back.openvinoMakeEncryptedKey, (std::array<uint8_t, 4>{'a', 'b', 'y', 'z'}))
        << "the key text ends at its first zero byte and leaves the rest of the field as it was";
    EXPECT_EQ(back.qnnStubPath, "");

    params.framework = FrameworkTypeQnn;
    option = CreateOption();
    option->FromParams(params);
    back = {};
    ASSERT_TRUE(option->ToParams(back).Ok());
    EXPECT_EQ(back.qnnStubPath + back.qnnSystemPath + back.qnnOutputPath, "stubsystemoutput");
    EXPECT_TRUE(back.qnnFromCache);
    EXPECT_EQ(back.openvinoDevice, "");

    // The other number for OpenVINO carries no OpenVINO options; empty common texts are not carried at all.
    InterpreterParams plain;
    plain.framework = FrameworkTypeOpenvinoPlain;
    plain.openvinoDevice = "CPU";
    option = CreateOption();
    option->FromParams(plain);
    EXPECT_EQ(option->Serialize(nullptr, 0), 8U + 8 + std::strlen(OptionCommonFramework) + 1 + 4);
}

TEST(OptionV2, ALongModelFileKeyIsRefusedNotCut) {
    const OptionHandle option = CreateOption();
    option->SetInt(OptionCommonFramework, FrameworkTypeOpenvino);
    InterpreterParams params;
    option->SetString(OptionOpenvinoMakeEncryptedKey, "abcd");
    EXPECT_TRUE(option->ToParams(params).Ok());
    option->SetString(OptionOpenvinoMakeEncryptedKey, "abcde");
    Testing::CapturedLog log;
    const Status status = option->ToParams(params);
    EXPECT_EQ(status.message, "OptionOpenvinoMakeEncryptedKey is longer than 4 bytes");
    EXPECT_EQ(status.code, -1);
    EXPECT_EQ(params.openvinoMakeEncryptedKey, (std::array<uint8_t, 4>{}));
    EXPECT_EQ(log.Take().size(), 1U);
}

}  // namespace
}  // namespace Orvane
