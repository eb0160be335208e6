#pragma once

#include "cli/model/model_options.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <iosfwd>
#include <optional>

namespace Orvane::Cli {

// Throws `WrongUsage` for options that mean nothing, and `Failure` with the SDK's message, and hints, when the model
// does not load.
orvane::Model LoadModel(const ModelOptions& options);

// While it lives, the SDK's log lines of `minimum` and above go to `err`; without a level none does.
// At most one at a time.
class LogLines {
 public:
    LogLines(std::optional<uint32_t> minimum, std::ostream& err);
    ~LogLines();
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

 private:
    static void Print(void* self, uint32_t level, const char* text);

    uint32_t least = 0;
    std::ostream& stream;
};

}  // namespace Orvane::Cli
