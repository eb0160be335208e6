#include "ipc/message_buffer.h"

#include "core/tensor_proxy_impl.h"
#include "ipc/call_protocol.h"
#include "platform/section.h"
#include "testing/support/fake_backend.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace Orvane {
namespace {

using Shape = std::vector<int64_t>;

// Writes the description of a tensor of that shape.
void WriteInfo(MessageBuffer& message, const Shape& shape) {
    Testing::FakeBackend backend;
    backend.inputs = {{"input", true, DataTypeFloat32, 1, shape}};
    WriteTensorInfo(message, TensorProxyImpl(backend, 0, TensorTypeInput));
}

// Two digits for each byte that `write` wrote, in words of four bytes.
std::string Written(const std::function<void(MessageBuffer&)>& write) {
    std::array<uint8_t, 256> bytes{};
    MessageBuffer message;
    message.Attach(bytes.data(), bytes.size());
    write(message);
    std::string hex;
    for (size_t i = 0; i < bytes.size() - message.Room(); ++i) {
        const char* const digits = "0123456789ABCDEF";
        hex += i != 0 && i % 4 == 0 ? " " : "";
        hex += {digits[bytes[i] / 16], digits[bytes[i] % 16]};
    }
    return hex;
}

TEST(MessageBuffer, WritesTheseBytes) {
    const struct {
        std::function<void(MessageBuffer&)> write;
        std::string bytes;
    } cases[] = {
        {[](auto& m) { WriteRequest(m, CallSetInputData); }, "04000000 03000000"},
        {[](auto& m) { m.WriteUInt64(0x0102030405060708); }, "08000000 08070605 04030201"},
        {[](auto& m) { m.WriteString(""); }, "01000000 00000000"},
        {[](auto& m) { m.WriteString("不"); }, "01000000 03000000 E4B88D"},
        {[](auto& m) { m.WriteBytes("abcd", 4); }, "04000000 04000000 61626364"},
        {[](auto& m) {
             m.WriteStatus({"Not Init success!", -1});
         },
         "04000000 FFFFFFFF 01000000 11000000 4E6F7420 496E6974 20737563 63657373 21"},
        {[](auto& m) {
             WriteInfo(m, {1, 3, 224, 224});
         },
         "01000000 05000000 696E7075 74040000 00010000 00040000 00010000 00040000 00040000 00040000 00010000 "
         "00040000 00030000 00040000 00E00000 00040000 00E00000 00"},
        {[](auto& m) {
             WriteShape(m, {5, -1});
         },
         "04000000 02000000 08000000 05000000 00000000 08000000 FFFFFFFF FFFFFFFF"},
        {[](auto& m) {
             WriteExtraInfo(m, {{"k", "v"}});
         },
         "04000000 01000000 01000000 01000000 6B010000 00010000 0076"},
    };
    for (const auto& [write, bytes] : cases) {
        EXPECT_EQ(Written(write), bytes);
    }
}

TEST(MessageBufferDeathTest, WritingWithoutRoomEndsTheProcessAndClearsTheRoom) {
    // Shared, so that what the ended process did can be seen here.
    const Platform::Section section = Platform::Section::Create("MessageBufferDeathTest", 4096);
    const Platform::View view = section.Map(0);
    MessageBuffer message;
    message.Attach(view.Data(), 27);
    std::fill_n(view.Data(), 64, uint8_t{0xEE});
    EXPECT_DEATH(
        {
            message.WriteString("abcdefgh");
            message.WriteUInt32(1);  // fills the region but for 3 bytes
            message.WriteUInt32(1);
        },
        "");
    EXPECT_EQ(std::string(view.Data() + 23, view.Data() + 28), std::string("\0\0\0\0\xEE", 5));

    message.Attach(view.Data(), 7);
    EXPECT_DEATH(message.WriteString(""), "");
    message.Attach(nullptr, 0);
    EXPECT_DEATH(message.WriteUInt32(1), "");
    EXPECT_DEATH(message.ReadUInt32(), "");
}

}  // namespace
}  // namespace Orvane
