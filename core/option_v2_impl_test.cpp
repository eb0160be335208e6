#include <orvane/option_v2.h>

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <tuple>

namespace Orvane {
namespace {

using namespace std::string_literals;
using Key = std::array<uint8_t, 4>;

// `Deserialize` may read the form and the one byte after it. The sanitizers detect every other read.
bool Load(OptionV2& option, const std::string& form, char after = 0) {
    const auto block = std::make_unique<char[]>(form.size() + 1);
    std::memcpy(block.get(), form.data(), form.size());
    block[form.size()] = after;
    return option.Deserialize(block.get(), form.size());
}

std::string Flat(const OptionV2& option) {
    std::string form(option.Serialize(nullptr, 0), '\0');
    EXPECT_EQ(option.Serialize(form.data(), form.size()), form.size());
    return form;
}

// One entry of every type in key order: "B" sorts before "a", and "a" before "ab".
const std::string kEveryType =
    "\7\0\0\0\0\0\0\0"
    "\1\0\0\0\0\0\0\0B\6\3\0\0\0\xFF\0\x7F"
    "\1\0\0\0\0\0\0\0a\0\1"
    "\2\0\0\0\0\0\0\0ab\1\0\0\xC0\x3F"
    "\1\0\0\0\0\0\0\0d\2\0\0\0\0\0\0\4\xC0"
    "\1\0\0\0\0\0\0\0i\3\xFE\xFF\xFF\xFF"
    "\1\0\0\0\0\0\0\0l\4\0\0\0\0\1\0\0\0"
    "\1\0\0\0\0\0\0\0s\5\6\0\0\0\0\0\0\0中文"s;

OptionHandle EveryType() {
    OptionHandle option = CreateOption();
    option->SetString("s", "中文");
    option->SetInt64("l", int64_t{1} << 32);
    option->SetInt("i", -2);
    option->SetDouble("d", -2.5);
    option->SetFloat("ab", 1.5F);
    option->SetBool("a", true);
    option->SetBuffer("B", "\xFF\0\x7F", 3);
    return option;
}

TEST(OptionV2, WritesTheExactFlatFormAndRefusesATruncatedOne) {
    EXPECT_EQ(Flat(*CreateOption()), std::string(8, '\0'));
    EXPECT_EQ(Flat(*EveryType()), kEveryType);
    const OptionHandle option = CreateOption();
    std::string room(kEveryType.size(), '\0');
    for (size_t size = 0; size < kEveryType.size(); ++size) {
        EXPECT_FALSE(Load(*option, kEveryType.substr(0, size))) << size;
        EXPECT_EQ(EveryType()->Serialize(room.data(), size), 0U) << size;
    }
    ASSERT_TRUE(Load(*option, kEveryType));
    EXPECT_EQ(Flat(*option), kEveryType);
}

TEST(OptionV2, ReadsOddEntriesAsProducersExpect) {
    const OptionHandle option = EveryType();
    EXPECT_FALSE(Load(*option, std::string(7, '\0')));
    EXPECT_EQ(Flat(*option), std::string(8, '\0')) << "a failed load removes the old content";

    const std::string one = "\1\0\0\0\0\0\0\0"s;
    const std::string two = "\2\0\0\0\0\0\0\0"s;
    const std::string falseAtK = one + one + "k\0\0"s;
    const std::string cases[][3] = {
        {one + one + "k\6\0\0\0\0"s, falseAtK, "a buffer without bytes leaves its key with the boolean false"},
        {one + one + "k\6\xFF\xFF\xFF\xFF", falseAtK, "a negative length is the same"},
        {two + one + "m\7" + one + "k\0\0"s, falseAtK, "an unknown tag has no value and stores nothing"},
        {one + one + "k\0\2"s, one + one + "k\0\1"s, "every boolean but 0 is true"},
        {one + one + "k\5" + two + "v\0"s, one + one + "k\5" + one + "v", "a text ends at its zero byte"},
        {one + two + "k\0\0\0"s, falseAtK, "a key ends at its zero byte too"},
        {one + two + "k\0\6\1\0\0\0v"s, one + two + "k\0\6\1\0\0\0v"s, "but the key of a buffer does not"}};
    for (const auto& [form, kept, rule] : cases) {
        ASSERT_TRUE(Load(*option, form)) << rule;
        EXPECT_EQ(Flat(*option), kept) << rule;
    }
    const std::string cut = one + one + "k";
    EXPECT_FALSE(Load(*option, cut)) << "reads the tag after the end, here 0, whose value is missing";
    EXPECT_TRUE(Load(*option, cut, 7)) << "an unknown tag has no value";
}

// The result of every getter for `key`. A question mark marks the default, which is 9 or true.
std::string Answers(const OptionV2& option, const char* key) {
    std::ostringstream text;
    bool found = false;
    const auto add = [&](auto answer) { text << answer << (found ? " " : "? "); };
    add(option.GetBool(key, true, &found));
    add(option.GetFloat(key, 9, &found));
    add(option.GetDouble(key, 9, &found));
    add(option.GetInt(key, 9, &found));
    add(option.GetInt64(key, 9, &found));
    uint32_t size = 9;
    text << option.GetString(key) << (option.GetBuffer(key, size) != nullptr ? "bytes " : "") << size;
    return text.str();
}

TEST(OptionV2, GettersConvertOnlyBetweenSomeTypes) {
    const std::pair<const char*, const char*> cases[] = {
        {"B", "1? 9? 9? 9? 9? bytes 3"}, {"a", "1 9? 9? 9? 9? 0"},    {"ab", "1? 1.5 1.5 9? 9? 0"},
        {"d", "1? -2.5 -2.5 9? 9? 0"},   {"i", "1? 9? 9? -2 -2 0"},   {"l", "1? 9? 9? 9? 4294967296 0"},
        {"s", "1? 9? 9? 9? 9? 中文0"},   {"none", "1? 9? 9? 9? 9? 0"}};
    for (const auto& [key, answers] : cases) {
        EXPECT_EQ(Answers(*EveryType(), key), answers) << key;
    }
}

TEST(OptionV2, OwnsOnlyDeserializedBuffers) {
    const OptionHandle option = CreateOption();
    const char bytes[] = "caller's";
    uint32_t size = 0;
    option->SetBuffer("B", bytes, 4);
    option->SetBuffer("B", nullptr, 9);
    option->SetString("s", nullptr);
    EXPECT_EQ(option->GetBuffer("B", size), bytes);
    EXPECT_EQ(Flat(*option).size(), 8U + 8 + 1 + 1 + 4 + 4)
        << "a null text stores no key, and a null buffer stores no bytes";

    ASSERT_TRUE(Load(*option, kEveryType));
    const auto* owned = static_cast<const unsigned char*>(option->GetBuffer("B", size));
    option->SetBuffer("B", bytes, 4);
    EXPECT_EQ(owned[2], 0x7f) << "a buffer that replaces a buffer does not free its bytes";
    option->SetInt("B", 1);
    EXPECT_EQ(option->GetBuffer("B", size), nullptr);
}

using Params = InterpreterParams;
constexpr std::string Params::*kTexts[] = {&Params::host,        &Params::modelPath,      &Params::modelName,
                                           &Params::libraryPath, &Params::openvinoDevice, &Params::openvinoCachePath,
                                           &Params::qnnStubPath, &Params::qnnSystemPath,  &Params::qnnOutputPath};

// The texts of `params`, then its flags as plus or minus signs.
std::string Joined(const Params& params) {
    std::string joined;
    for (const auto text : kTexts) {
        joined += params.*text;
    }
    for (const bool flag : {params.openvinoMakeCache, params.openvinoMakeEncrypted, params.qnnFromCache}) {
        joined += flag ? '+' : '-';
    }
    return joined;
}

// The keys and texts of the flat form. Bytes of numbers are smaller than letters here, so they are dropped.
std::string Letters(const OptionV2& option) {
    std::string letters = Flat(option);
    std::erase_if(letters, [](char byte) { return byte < 'A'; });
    return letters;
}

TEST(OptionV2, CarriesTheParamsOfEachFramework) {
    Params params;
    char letter = 'a';
    for (const auto text : kTexts) {
        params.*text = letter++;
    }
    params.openvinoMakeCache = params.openvinoMakeEncrypted = params.qnnFromCache = true;
    params.openvinoMakeEncryptedKey = {'a', 'b', 0, 'd'};
    const std::tuple<uint32_t, uint32_t, const char*> cases[] = {{9, 9, "abcdef++-"}, {8, 8, "abcdghi--+"},
                                                                 {5, 5, "abcd---"},   {9, 5, "abcd---"},
                                                                 {9, 8, "abcd---"},   {8, 9, "abcd---"}};
    for (const auto& [written, read, carried] : cases) {
        params.framework = written;
        const OptionHandle option = CreateOption();
        option->FromParams(params);
        option->SetInt(OptionCommonFramework, static_cast<int32_t>(read));
        Params back;
        back.openvinoMakeEncryptedKey = {'w', 'x', 'y', 'z'};
        ASSERT_TRUE(option->ToParams(back).Ok());
        EXPECT_EQ(back.framework, read);
        EXPECT_EQ(Joined(back), carried);
        const Key key = {'a', 'b', 'y', 'z'};  // the text ends at its zero byte; the rest is unchanged
        EXPECT_EQ(back.openvinoMakeEncryptedKey == key, written == 9 && read == 9);
    }
}

TEST(OptionV2, HandlesEmptyWrongAndTooLongParams) {
    const std::pair<uint32_t, std::string> emptyTexts[] = {
        {5, ""},
        {8, "OptionQnnFromCacheOptionQnnOutputPathOptionQnnStubPathOptionQnnSystemPath"},
        {9,
         "OptionOpenvinoCachePathOptionOpenvinoDevieOptionOpenvinoMakeCacheOptionOpenvinoMakeEncrypted"
         "OptionOpenvinoMakeEncryptedKey"}};
    Params params;
    for (const auto& [framework, keys] : emptyTexts) {
        params.framework = framework;
        const OptionHandle option = CreateOption();
        option->FromParams(params);
        EXPECT_EQ(Letters(*option), OptionCommonFramework + keys) << "empty texts are stored, except the common ones";
    }
    EXPECT_EQ(std::tie(params.reserved0, params.reserved4, params.reserved7), std::tuple(4, true, 2))
        << "their defaults are not zero";
    const OptionHandle option = CreateOption();
    option->SetInt64(OptionCommonFramework, 9);
    ASSERT_TRUE(option->ToParams(params).Ok());
    EXPECT_EQ(params.framework, 0U) << "only a 32-bit number is read";
    option->SetInt(OptionCommonFramework, 9);
    option->SetString(OptionOpenvinoMakeEncryptedKey, "abcde");
    EXPECT_EQ(option->ToParams(params).message, "OptionOpenvinoMakeEncryptedKey is longer than 4 bytes");
    EXPECT_EQ(params.openvinoMakeEncryptedKey, Key{}) << "a long key is refused, not truncated";
}

}  // namespace
}  // namespace Orvane
