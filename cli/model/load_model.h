#pragma once

#include "cli/model/model_options.h"
#include "platform/private_folder.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

namespace Orvane::Cli {

// A loaded model. On Windows the system cannot remove its temporary files while the model uses them: then `files`
// removes them after the model.
struct LoadedModel {
    std::unique_ptr<Platform::PrivateFolder> files;
    orvane::Model model;
};

// Throws `WrongUsage` for options that cannot be combined, and `Failure` with the SDK's message and with hints if the
// model does not load. On a terminal `err` shows the step of a long load. Ctrl-C cancels a load with temporary files.
LoadedModel LoadModel(const ModelOptions& options, std::ostream& err);

// Writes the model with the shapes of the options to `out`, an .xml, and its .bin. Throws as `LoadModel`.
void Reshape(const ModelOptions& options, const std::string& out, std::ostream& err);

// While it lives, writes the SDK's log lines of level `minimum` and above to `err`. Without a level it writes no lines.
// Only one object may exist at a time.
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
