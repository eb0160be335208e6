#include "ipc/message_buffer.h"

#include "platform/section.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Orvane {
namespace {

// What it writes and reads, the call protocol's suite states byte by byte.
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
