#pragma once

#include <orvane/interpreter.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace Orvane::Cli {

// The arguments that say which model a command loads, and how.
struct ModelOptions {
    std::string model;   // path of the model file; may be empty when there is a cache
    std::string device;  // empty for the SDK's own choice
    std::string cache;   // path of the cache file; empty for none
    bool makeCache = false;
    std::optional<std::string> key;
    std::optional<std::string> host;  // path of the host program that runs the model
    bool remote = false;              // the host program beside this one
    int32_t framework = FrameworkTypeOpenvino;
    std::optional<uint32_t> logLevel;

    // Path of the host program; empty when the model runs in this process.
    std::string HostProgram() const;

    // The largest tensor whose data can be copied, in bytes.
    uint32_t MaxTensorBytes() const;
};

// Adds MODEL and the options to a subcommand. Parsing fills `options`, which must live as long.
void AddModelOptions(CLI::App& app, ModelOptions& options);

// Throws `WrongUsage` for a combination that means nothing, and `Failure` with the SDK's message, and hints, when
// the model does not load.
Interpreter LoadModel(const ModelOptions& options);

// While it lives, the SDK's log lines of `minimum` and above go to `err`; without a level none does.
// At most one at a time.
class LogLines {
 public:
    LogLines(std::optional<uint32_t> minimum, std::ostream& err);
    ~LogLines();
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;
};

}  // namespace Orvane::Cli
