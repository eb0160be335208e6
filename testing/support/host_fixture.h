#pragma once

#include <orvane/interpreter.h>

#include "testing/support/processes.h"
#include "testing/support/round_trips.h"
#include "testing/support/within.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Orvane::Testing {

// Of tests that start hosts of stub models: such a test ends, and leaves nothing.
class HostFixture : public testing::Test {
 protected:
    void TearDown() override {
        interpreter.reset();
        EXPECT_EQ(LeftBehind(), "");
    }

    std::string Init(const InterpreterParams& params) { return Shown(interpreter->Init(params)); }

    // Starts a host. An earlier one, which may take its time to go, is gone by then.
    Process StartHost(const std::string& path = "echo 4", const std::string& name = "") {
        interpreter->Release();
        EXPECT_TRUE(Within(std::chrono::seconds(10), [] { return Children().empty(); }));
        EXPECT_EQ(Init(Params(path, name)), kOk);
        return Process(Children().at(0));
    }

    std::unique_ptr<Interpreter> interpreter = std::make_unique<Interpreter>();

 private:
    Watchdog watchdog;
};

}  // namespace Orvane::Testing
