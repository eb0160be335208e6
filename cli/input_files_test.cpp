// Inputs and outputs of `orvane run` other than .npy files and plain bytes.
#include "cli/captured_run.h"
#include "cli/failure.h"
#include "cli/files/npz.h"
#include "cli/files/picture.h"
#include "testing/support/tiny_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Orvane::Cli {
namespace {

using namespace ::testing;
using Testing::EchoModel;

std::string FromHex(const std::string& digits) {
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

// Made by numpy's savez and savez_compressed from x=[[10, 20, -30]] of type float32.
const std::string kStored = FromHex(
    "504b03042d000000000000002100da3f94feffffffffffffffff05001400782e6e7079010010008c000000000000008c0000000000000093"
    "4e554d5059010076007b276465736372273a20273c6634272c2027666f727472616e5f6f72646572273a2046616c73652c20277368617065"
    "273a2028312c2033292c207d2020202020202020202020202020202020202020202020202020202020202020202020202020202020202020"
    "20202020202020202020202020200a000020410000a0410000f0c1504b01022d032d000000000000002100da3f94fe8c0000008c00000005"
    "0000000000000000000000800100000000782e6e7079504b0506000000000100010033000000c30000000000");
const std::string kCompressed = FromHex(
    "504b03042d000000080000002100da3f94feffffffffffffffff05001400782e6e7079010010008c0000000000000051000000000000009b"
    "ec17ea1b10c9c850c650ad9e925a9c5ca46ea5a06e9366a2aea3a09e965f54529498179f5f94920a12774bcc294e058a17672416a402f91a"
    "863a0ac69a3a0ab50a64032e0606054706860540fce12000504b01022d032d000000080000002100da3f94fe510000008c00000005000000"
    "0000000000000000800100000000782e6e7079504b0506000000000100010033000000880000000000");
const std::string kPicture = FromHex(
    "89504e470d0a1a0a0000000d4948445200000002000000020802000000fdd49a730000001649444154789c63f8cfc0c0f09f819181e1ffff"
    "ff0c001ef604fd09ed343e0000000049454e44ae426082");  // red, green / blue, white

// Returns the arrays; a text that begins with "refused" if the archive cannot be read.
std::string ContentOf(const std::string& archive) {
    std::istringstream file(archive);
    try {
        std::string content;
        for (const NpzArray& array : ListNpz(file, "f")) {
            content += ReadNpz(file, "f", array);
        }
        return content;
    } catch (const Failure& reason) {
        return std::string("refused: ") + reason.what();
    }
}

class InputFiles : public CommandLineTest {
 protected:
    // Returns the elements that the model EchoModel({{"x", type, dimensions}}) gets from the picture.
    template <typename Element>
    std::vector<Element> Pixels(const std::string& type, const std::vector<std::string>& dimensions,
                                const std::string& options = "") {
        EchoModel({{"x", type, dimensions}}).WriteTo(folder, "e");
        EXPECT_EQ(Run("run @e.xml --input 0=@p.PNG --output 0=@out " + options).err, "");
        const std::string bytes = Held("out");
        std::vector<Element> elements(bytes.size() / sizeof(Element));
        std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char*>(elements.data()));
        return elements;
    }

    std::string picture = folder.Write("p.PNG", kPicture);
};

TEST_F(InputFiles, ReadsTheArraysOfAnArchiveByName) {
    folder.Write("stored.npz", kStored);
    folder.Write("packed.npz", kCompressed);
    for (const std::string argument : {"x=@stored.npz", "0=@packed.npz", "@packed.npz"}) {
        EXPECT_THAT(Run("run @m.xml --input " + argument).out, HasSubstr("min -27  max 22")) << argument;
    }
    EchoModel({{"a", "f32", {"1", "3"}}}).WriteTo(folder, "a");
    EXPECT_EQ(Run("run @a.xml --input a=@packed.npz").err, "") << "the only array";
    EXPECT_THAT(Run("run @a.xml --input @packed.npz").err, HasSubstr("the model has no input \"x\""));

    // A name of digits: arrays go by name, and an argument by index if there is such an index.
    EchoModel({{"1", "f32", {"1", "3"}}, {"7", "f32", {"1", "3"}}}).WriteTo(folder, "digits");
    folder.Write("digits.npz", std::regex_replace(kStored, std::regex("x\\.npy"), "1.npy"));
    folder.Write("y", BytesOf({1, 2, 3}));
    for (const std::string argument : {"1=@y", "7=@y"}) {
        EXPECT_THAT(Run("run @digits.xml --input @digits.npz --input " + argument).out,
                    AllOf(HasSubstr("0  1  float32  [1, 3]  min -30"), HasSubstr("1  7  float32  [1, 3]  min 1 ")));
    }
}

TEST_F(InputFiles, RefusesADamagedArchive) {
    const std::string whole = ContentOf(kCompressed);
    ASSERT_THAT(whole, AllOf(EndsWith("\xf0\xc1"), SizeIs(140)));
    EXPECT_EQ(ContentOf(kStored), whole);
    for (size_t size = 0; size < kCompressed.size(); ++size) {
        EXPECT_THAT(ContentOf(kCompressed.substr(0, size)), StartsWith("refused")) << size;
    }
    for (size_t bit = 0; bit < 8 * kCompressed.size(); ++bit) {
        std::string changed = kCompressed;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        // Some bytes do not affect the content. Without its name the array is not found.
        EXPECT_THAT(ContentOf(changed), AnyOf(StartsWith("refused"), whole, "")) << bit;
    }
}

TEST_F(InputFiles, CopiesPixelsInTheLayoutOfTheInput) {
    using Bytes = std::vector<uint8_t>;
    using Floats = std::vector<float>;
    EXPECT_EQ(Pixels<uint8_t>("u8", {"1", "2", "2", "3"}), (Bytes{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}));
    EXPECT_EQ(Pixels<uint8_t>("u8", {"3", "2", "2"}, "--bgr"), (Bytes{0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255}));
    EXPECT_EQ(Pixels<float>("f32", {"1", "3", "2", "2"}, "--mean 55,5,15 --scale 2"),
              (Floats{100, -27.5, -27.5, 100, -2.5, 125, -2.5, 125, -7.5, -7.5, 120, 120}));
    EXPECT_THAT(Pixels<float>("f32", {"1", "1", "1", "3"}), Each(FloatNear(127.5, 0.5))) << "the mean of all pixels";
    const Floats larger = Pixels<float>("f32", {"4", "2", "3"});
    EXPECT_EQ(Floats(larger.begin(), larger.begin() + 6), (Floats{255, 0, 0, 0, 255, 0}));
}

TEST(Exif, TurnsAPictureUpright) {
    // The result for the rows 012 and 345, for orientations 1 to 8.
    const std::string expected[] = {"012345", "210543", "543210", "345012", "031425", "304152", "524130", "251403"};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const Picture turned = Upright({3, 2, 1, {'0', '1', '2', '3', '4', '5'}}, orientation);
        EXPECT_EQ(std::string(turned.pixels.begin(), turned.pixels.end()), expected[orientation - 1]) << orientation;
        EXPECT_EQ(turned.width, orientation < 5 ? 3 : 2);
    }
    const std::string little = FromHex("ffd8ffe1002245786966000049492a0008000000010012010300010000000600000000000000");
    const std::string big = FromHex("ffd8ffe100224578696600004d4d002a00000008000101120003000000010006000000000000");
    for (const std::string& file : {little, big}) {
        EXPECT_EQ(ExifOrientation(file + "...."), 6);
        for (size_t size = 0; size < file.size(); ++size) {
            EXPECT_THAT(ExifOrientation(file.substr(0, size)), AnyOf(1, 6));
        }
        for (size_t bit = 0; bit < 8 * file.size(); ++bit) {
            std::string changed = file;
            changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
            EXPECT_THAT(ExifOrientation(changed), AllOf(Ge(1), Le(8))) << bit;
        }
    }
}

TEST_F(InputFiles, ShowsTheLargestElementsWithLabels) {
    folder.Write("labels", "one\r\ntwo\nthree\n");
    folder.Write("x", BytesOf({10, NAN, 30}));
    const std::string line = "run @m.xml --input 0=@x --top 5 --labels @labels";
    EXPECT_EQ(Run(line).out, "0  y  float32  [1, 3]\n  2  33  three\n  0  11  one\n");
    EXPECT_THAT(Run(line + " --json").out, HasSubstr(R"("top":[{"index":2,"value":33.0,"label":"three"},{"index":0,)"));
    folder.Write("labels", "one\n");
    EXPECT_THAT(Run(line).err, HasSubstr("--labels has 1 lines, and no output"));
}

TEST_F(InputFiles, RefusesPicturesAndOptionsThatDoNotFit) {
    folder.Write("not.jpg", "JPEG");
    folder.Write("p.webp", "");
    EchoModel({{"x", "f32", {"1", "3", "2", "2"}}}).WriteTo(folder, "e");
    EchoModel({{"x", "u8", {"1", "1", "2", "2"}}}).WriteTo(folder, "u");
    ExpectRefusals(std::vector<Refusal>{
        {1, "run @e.xml --input x=@not.jpg", "is not a picture that orvane can read"},
        {1, "run @e.xml --input x=@p.webp", "is a kind of picture that orvane does not read"},
        {1, "run @m.xml --input x=@p.PNG", "input 0 \"x\" is float32 [1, 3], and cannot take a picture"},
        {1, "run @u.xml --input x=@p.PNG --mean 1", "the pixels are copied unchanged"},
        {1, "run @u.xml --input x=@p.PNG --mean 1,2,3", "has 1 channel"},
        {2, "run @e.xml --input x=@p.PNG --mean 1,2", "one number or three"},
        {2, "run @e.xml --input x=@p.PNG --scale 0", "takes no 0"}});
}

}  // namespace
}  // namespace Orvane::Cli
