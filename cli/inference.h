#pragma once

#include "cli/transfers.h"

#include <orvane/interpreter.h>

#include <vector>

namespace Orvane::Cli {

// The three steps of an inference with all the data that goes in and out. Each throws `Failure` with the SDK's message.
struct Inference {
    void CopyIn() const;
    void Compute() const;
    void CopyOut();

    Interpreter& interpreter;
    std::vector<Transfer> inputs;
    std::vector<Transfer> outputs;

 private:
    void Check(const Status& status) const;
};

}  // namespace Orvane::Cli
