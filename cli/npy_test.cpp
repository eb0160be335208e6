#include "cli/npy.h"

#include "cli/failure.h"
#include "cli/model_options.h"
#include "cli/tensor_file.h"
#include "testing/tiny_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace Orvane::Cli {
namespace {

using namespace std::string_literals;
using ::testing::HasSubstr;

// The beginning of a file with this format version and header text, its length written as that version does.
std::string Header(char major, const std::string& text) {
    std::string length = {static_cast<char>(text.size()), 0};
    if (major > 1) {
        length += "\0\0"s;
    }
    return "\x93NUMPY"s + major + '\0' + length + text;
}

NpyArray Read(const std::string& bytes) {
    std::istringstream file(bytes);
    return ReadNpyHeader(file);
}

std::string RefusalOf(const std::string& bytes) {
    try {
        Read(bytes);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

TEST(Npy, HeaderIsWrittenAsFormat1WithDataAt64Bytes) {
    EXPECT_EQ(NpyHeader({DataTypeFloat32, {1, 576}}),
              "\x93NUMPY\x01\x00\x76\x00{'descr': '<f4', 'fortran_order': False, 'shape': (1, 576), }"s +
                  std::string(56, ' ') + "\n");
    for (const std::vector<int64_t>& shape : std::vector<std::vector<int64_t>>{{}, {3}, {0, 2}, {1, 2, 3, 4, 5, 6}}) {
        const std::string header = NpyHeader({DataTypeUInt8, shape});
        EXPECT_EQ(header.size() % 64, 0U);
        EXPECT_EQ(Read(header).shape, shape);
    }
}

TEST(Npy, ReadsEveryVersionTypeAndSpelling) {
    const std::vector<std::pair<std::string, DataType>> types = {
        {"<f4", DataTypeFloat32}, {"<f2", DataTypeFloat16}, {"<i4", DataTypeInt32},
        {"|u1", DataTypeUInt8},   {"<i8", DataTypeInt64},   {"|b1", DataTypeBool},
        {"<i2", DataTypeInt16},   {"|i1", DataTypeInt8},    {"<f8", DataTypeFloat64}};
    for (const auto& [description, type] : types) {
        for (const char version : {'\1', '\2', '\3'}) {
            const NpyArray array =
                Read(Header(version, "{'descr': '" + description + "', 'fortran_order': False, 'shape': (2, 3), }\n"));
            EXPECT_EQ(array.elementType, type);
            EXPECT_EQ(array.shape, (std::vector<int64_t>{2, 3}));
        }
    }
    const std::string other = "{\"shape\":(7,),\"fortran_order\":True,\"descr\":\"<i2\"}";
    EXPECT_EQ(Read(Header(1, other)).shape, std::vector<int64_t>{7});
}

TEST(Npy, RefusesWhatItCannotReadAndSaysWhy) {
    const std::string good = "{'descr': '<f4', 'fortran_order': False, 'shape': (2, 3), }\n";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"\x89PNG\r\n\x1a\n0123456789", "does not begin like one"},
        {Header(4, good), "version"},
        {"\x93NUMPY\2\0\xff\xff\xff\xff{"s, "claims to be 4294967295 bytes"},
        {Header(1, "{'descr': '>f4', 'fortran_order': False, 'shape': (2, 3), }"), "'>f4'"},
        {Header(1, "{'descr': '<f4', 'fortran_order': True, 'shape': (2, 3), }"), "Fortran order"},
        {Header(1, "{'descr': '<f4', 'fortran_order': False, }"), "lacks one"},
        {Header(1, "{'descr': '<f4', 'descr': '<f4', 'fortran_order': False, 'shape': (2, 3), }"), "malformed"},
        {Header(1, "{'descr': [('a', '<f4')], 'fortran_order': False, 'shape': (2, 3), }"), "malformed"},
        {Header(1, "{'descr': '<f4', 'fortran_order': 0, 'shape': (2, 3), }"), "malformed"},
        {Header(1, "{'descr': '<f4', 'fortran_order': False, 'shape': (-2, 3), }"), "malformed"},
        {Header(1, "{'descr': '<f4', 'fortran_order': False, 'shape': (99999999999999999999, 3), }"), "malformed"},
        {Header(1, "{'descr': '<f4', 'fortran_order': False, 'shape': (3), }"), "malformed"},
        {Header(1, good + "{"), "malformed"}};
    for (const auto& [bytes, reason] : cases) {
        EXPECT_THAT(RefusalOf(bytes), HasSubstr(reason)) << bytes;
    }
}

TEST(Npy, EveryPrefixOfAValidFileAndOneByteMoreIsRefused) {
    const Testing::TemporaryFolder folder;
    ModelOptions options;
    options.model = Testing::AddModel({0, 0}).WriteTo(folder, "add");
    Interpreter interpreter = LoadModel(options);
    const std::vector<ModelTensor> inputs = TensorsOf(interpreter, TensorTypeInput);
    const std::string valid = NpyHeader({DataTypeFloat32, {1, 2}}) + "12345678";
    for (std::size_t size = 0; size < valid.size(); ++size) {
        const std::string path = folder.Write("cut.npy", valid.substr(0, size));
        EXPECT_THROW(ReadTensorFile(path, inputs.at(0)), Failure) << size;
    }
    EXPECT_THROW(ReadTensorFile(folder.Write("long.npy", valid + "9"), inputs.at(0)), Failure);
    const std::vector<uint8_t> data = ReadTensorFile(folder.Write("whole.npy", valid), inputs.at(0));
    EXPECT_EQ(std::string(data.begin(), data.end()), "12345678");
}

}  // namespace
}  // namespace Orvane::Cli
