#include "cli/files/npy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <sstream>

namespace Orvane::Cli {
namespace {

using namespace std::string_literals;
using Shape = std::vector<int64_t>;

// The beginning of a file with this format version, the length of the header as that version writes it, and the header.
std::string Header(char major, const std::string& text) {
    return "\x93NUMPY"s + major + '\0' + static_cast<char>(text.size()) + (major > 1 ? "\0\0\0"s : "\0"s) + text;
}

NpyArray Read(const std::string& bytes) {
    std::istringstream file(bytes);
    return ReadNpyHeader(file);
}

TEST(Npy, WritesAHeaderOfFormat1ThatEndsAt64Bytes) {
    EXPECT_EQ(NpyHeader({orvane::ElementType::Float32, {1, 576}}),
              "\x93NUMPY\x01\x00\x76\x00{'descr': '<f4', 'fortran_order': False, 'shape': (1, 576), }"s +
                  std::string(56, ' ') + "\n");
    for (const Shape& shape : {Shape{}, Shape{3}, Shape{0, 2}, Shape{1, 2, 3, 4, 5, 6}}) {
        const std::string header = NpyHeader({orvane::ElementType::UInt8, shape});
        EXPECT_EQ(header.size() % 64, 0U);
        EXPECT_EQ(Read(header).shape, shape);
        for (size_t size = 0; size < header.size(); ++size) {
            EXPECT_THROW(Read(header.substr(0, size)), UnreadableNpy) << size;
        }
    }
}

TEST(Npy, ReadsEveryVersionTypeAndSpelling) {
    const std::pair<std::string, orvane::ElementType> types[] = {
        {"<f4", orvane::ElementType::Float32}, {"<f2", orvane::ElementType::Float16},
        {"<i4", orvane::ElementType::Int32},   {"|u1", orvane::ElementType::UInt8},
        {"<i8", orvane::ElementType::Int64},   {"|b1", orvane::ElementType::Bool},
        {"<i2", orvane::ElementType::Int16},   {"|i1", orvane::ElementType::Int8},
        {"<f8", orvane::ElementType::Float64}};
    for (const auto& [description, type] : types) {
        for (const char version : {'\1', '\2', '\3'}) {
            const std::string text = "{\"shape\":(7,),\"fortran_order\":True,'descr': '" + description + "', }\n";
            EXPECT_EQ(Read(Header(version, text)).elementType, type);
            EXPECT_EQ(Read(Header(version, text)).shape, Shape{7});
        }
    }
}

TEST(Npy, ConvertsFortranOrderToCOrder) {
    // The shape is (2, 3, 2). Each element is the number of its place in C order.
    const std::vector<uint8_t> fortran = {0, 6, 2, 8, 4, 10, 1, 7, 3, 9, 5, 11};
    std::vector<uint8_t> ordered(12);
    std::iota(ordered.begin(), ordered.end(), uint8_t{0});
    EXPECT_EQ(InCOrder(fortran, {orvane::ElementType::UInt8, {2, 3, 2}, true}), ordered);
    EXPECT_EQ(InCOrder({1, 2, 5, 6, 3, 4, 7, 8}, {orvane::ElementType::Int16, {2, 2}, true}),
              (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8}));
    const NpyArray read = Read(Header(1, "{'descr': '<f4', 'fortran_order': True, 'shape': (2, 3), }"));
    EXPECT_TRUE(read.isFortran && read.shape == (Shape{2, 3}));
}

TEST(Npy, RefusesUnreadableFilesWithAReason) {
    const std::string good = "{'descr': '<f4', 'fortran_order': False";
    const std::pair<std::string, std::string> cases[] = {
        {"\x89PNG\r\n\x1a\n0123456789", "its first bytes are not"},
        {Header(4, good + ", 'shape': (2, 3), }"), "version"},
        {"\x93NUMPY\2\0\xff\xff\xff\xff{"s, "claims to be 4294967295 bytes"},
        {Header(1, "{'descr': '>f4', 'fortran_order': False, 'shape': (2, 3), }"),
         "'>f4', which no tensor has: convert it to little"},
        {Header(1, "{'descr': '<f4', 'fortran_order': 0, 'shape': (2, 3), }"), "malformed"},
        {Header(1, good + ", }"), "exactly"},
        {Header(1, good + ", 'more': 1, 'shape': (2, 3), }"), "exactly"},
        {Header(1, "{'descr': [('x', '<f4')], 'fortran_order': False, 'shape': (2, 3), }"), "malformed"},
        {Header(1, good + ", 'shape': (3), }"), "malformed"},
        {Header(1, good + ", 'shape': [2, 3], }"), "malformed"},
        {Header(1, good + ", 'shape': (2, 3), }\0"s), "malformed"},
        {Header(1, good + ", 'shape': (-2, 3), }"), "malformed"},
        {Header(1, good + ", 'shape': (99999999999999999999, 3), }"), "malformed"},
        {Header(1, good + ", 'shape': 3, }"), "malformed"},
        {Header(1, good + ", 'shape': (2, 3), }{"), "malformed"}};
    for (const auto& [bytes, reason] : cases) {
        EXPECT_THAT([&header = bytes] { Read(header); },
                    ::testing::ThrowsMessage<UnreadableNpy>(::testing::HasSubstr(reason)));
    }
}

}  // namespace
}  // namespace Orvane::Cli
