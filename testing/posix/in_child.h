#pragma once

#include "testing/posix/processes.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace Orvane::Testing {

// Runs a part of a test in a child process. If it fails there, the test fails.
inline void InChild(const std::function<void()>& work) {
    const pid_t child = Fork([&] {
        alarm(60);
        work();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(End(child), "exit 0");
}

}  // namespace Orvane::Testing
