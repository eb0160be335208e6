// The C interface in a forked child, with little address space, and on a thread with a signal stack.
#include <orvane/orvane_c.h>

#include "host/posix_call_filter.h"
#include "testing/posix/in_child.h"
#include "testing/support/host_fixture.h"
#include "testing/support/tiny_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>
#include <utility>

namespace Orvane::Testing {
namespace {

// The message of an error, or "" without an error.
std::string Text(orvane_error* error) {
    const std::string text = error != nullptr ? orvane_error_message(error) : "";
    orvane_error_free(error);
    return text;
}

TEST(CInterfacePosix, ReportsTooLittleAddressSpace) {
    if (kInstrumented) {
        GTEST_SKIP() << "this build needs much address space";
    }
    const TemporaryFolder folder;
    const std::string model = AddModel({4}).WriteTo(folder, "add");
    InChild([&] {
        uint64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t most = pages * 4096 + (16 << 20);  // the runtime's CPU library is larger
        const rlimit limit{most, most};
        setrlimit(RLIMIT_AS, &limit);
        orvane_options options{};
        options.struct_size = sizeof options;
        options.model_path = model.c_str();
        orvane_model* opened = nullptr;
        orvane_error* error = orvane_open(&options, &opened);
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(orvane_error_reason(error), ORVANE_NO_MEMORY);
        EXPECT_THAT(Text(error), testing::StartsWith("there is not enough memory or address space"));
    });
}

TEST(CInterfacePosix, ReportsThatALogFunctionHasNoMemory) {
    if (kInstrumented) {
        GTEST_SKIP() << "this build does not return null without memory";
    }
    InChild([] {
        struct Block {  // of the same size as what the function allocates
            Block* earlier;
            uint64_t rest[2];
        };
        uint64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlimit limit{pages * 4096, pages * 4096};
        setrlimit(RLIMIT_AS, &limit);
        Block* blocks = nullptr;
        while (auto* const block = static_cast<Block*>(std::malloc(sizeof(Block)))) {
            block->earlier = blocks;
            blocks = block;
        }
        orvane_error* error = orvane_set_log([](void*, uint32_t, const char*) {}, nullptr);
        while (blocks != nullptr) {
            std::free(std::exchange(blocks, blocks->earlier));
        }
        EXPECT_EQ(orvane_error_reason(error), ORVANE_NO_MEMORY);
        EXPECT_NE(Text(error), "");
    });
}

TEST(CInterfacePosix, LoadKeepsTheThreadsSignalStack) {
    const TemporaryFolder folder;
    const std::string model = AddModel({4}).WriteTo(folder, "add");
    stack_t before{};
    ASSERT_EQ(sigaltstack(nullptr, &before), 0);
    orvane_options options{};
    options.struct_size = sizeof options;
    options.model_path = model.c_str();
    orvane_model* opened = nullptr;
    ASSERT_EQ(Text(orvane_open(&options, &opened)), "");
    stack_t loaded{};
    ASSERT_EQ(sigaltstack(nullptr, &loaded), 0);
    EXPECT_EQ(loaded.ss_sp, before.ss_sp);
    EXPECT_EQ(loaded.ss_flags, before.ss_flags);
    orvane_close(opened);
}

// A call of another thread waits here, in its progress function, so that this thread can fork.
struct Waiting {
    int32_t step = -1;
    std::promise<void> begun;
    std::promise<void> mayEnd;
};

// In the child's copy of the model that call never ends, and the model may be half changed.
TEST(CInterfacePosix, ForkedChildStartsItsOwnHost) {
    for (const int32_t step : {ORVANE_LOAD_NONE, ORVANE_LOAD_STARTING_HOST}) {
        Waiting waiting;
        orvane_options options{};
        options.struct_size = sizeof options;
        options.model_path = "echo 4;sleep 500";
        options.cache_path = kStubHost.c_str();  // with a cache file, the stub's model need not be a file
        options.host_program = kStubHost.c_str();
        options.progress_user = &waiting;
        options.progress = [](void* user, int32_t now) {
            auto& during = *static_cast<Waiting*>(user);
            if (now == during.step) {
                during.step = -1;
                during.begun.set_value();
                during.mayEnd.get_future().wait_for(kPatience);
            }
            return 0;
        };
        orvane_model* model = nullptr;
        ASSERT_EQ(Text(orvane_open(&options, &model)), "");
        const auto infer = [&model] {
            char data[4] = {'d', 'a', 't', 'a'};
            const orvane_input input{sizeof input, 0, data, sizeof data};
            return Text(orvane_infer(model, &input, 1, nullptr, 0));
        };
        waiting.step = step;
        auto result = std::async(std::launch::async,
                                 [&] { return step == ORVANE_LOAD_NONE ? infer() : Text(orvane_restart(model)); });
        ASSERT_EQ(waiting.begun.get_future().wait_for(kPatience), std::future_status::ready);
        InChild([&] {
            EXPECT_THAT(infer(), testing::StartsWith("the host process has ended")) << step;
            EXPECT_EQ(Text(orvane_restart(model)), "") << step;
            EXPECT_EQ(infer(), "") << step;
            orvane_close(model);
        });
        waiting.mayEnd.set_value();
        EXPECT_EQ(result.get(), "") << step;
        orvane_close(model);
    }
}

}  // namespace
}  // namespace Orvane::Testing
