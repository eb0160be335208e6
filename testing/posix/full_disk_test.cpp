// The disk has no room for all bytes of a cache.
#include "backends/openvino/decode_output_stream_buf.h"
#include "testing/posix/in_child.h"
#include "testing/support/temporary_folder.h"

#include <sys/resource.h>

#include <csignal>

namespace Orvane {
namespace {

TEST(FullDisk, FailsAnIncompleteWrite) {
    const Testing::TemporaryFolder folder;
    Testing::InChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit room{300'000, 300'000};
        setrlimit(RLIMIT_FSIZE, &room);
        DecodeOutputStreamBuf buffer(folder.Path("cache"));
        const std::string bytes(600'000, 'x');
        EXPECT_EQ(buffer.sputn(bytes.data(), 600'000), 262'144) << "only complete blocks are counted";
        EXPECT_EQ(buffer.sputn(bytes.data(), 600'000), 0);
    });
}

}  // namespace
}  // namespace Orvane
