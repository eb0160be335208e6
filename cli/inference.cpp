#include "cli/inference.h"

#include "cli/failure.h"

#include <string>

namespace Orvane::Cli {

void Inference::CopyIn() const {
    for (const Transfer& input : inputs) {
        Check(input.tensor->handle->CopyFrom(input.data.data(), input.tensor->Bytes()));
    }
}

void Inference::Compute() const {
    Check(interpreter.Invoke());
}

void Inference::CopyOut() {
    for (Transfer& output : outputs) {
        Check(output.tensor->handle->CopyTo(output.data.data(), output.tensor->Bytes()));
    }
}

void Inference::Check(const Status& status) const {
    if (status.Ok()) {
        return;
    }
    std::vector<std::string> hints;
    for (const Transfer& input : inputs) {
        if (input.tensor->shape.empty()) {
            hints.push_back(Label(*input.tensor) +
                            " has no dimensions, which cannot be run: export the model with [1].");
        }
    }
    throw Failure(status.message, hints);
}

}  // namespace Orvane::Cli
