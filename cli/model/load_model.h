#pragma once

#include "cli/model/model_options.h"
#include "cli/model/shapes.h"
#include "platform/private_folder.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

namespace Orvane::Cli {

// A loaded model, and the folder of its temporary files where it was given shapes, which goes after it.
struct LoadedModel {
    std::unique_ptr<Platform::PrivateFolder> files;
    orvane::Model model;
};

// Throws `WrongUsage` for options that mean nothing, and `Failure` with the SDK's message, and hints, when the model
// does not load. On a terminal `err` shows what a long load is at.
LoadedModel LoadModel(const ModelOptions& options, std::ostream& err);

// Writes the model file with the shapes that are asked for as `out`, an .xml, and its .bin. Throws as above.
void Reshape(const ModelOptions& options, const std::vector<ShapeArgument>& shapes, const std::string& out,
             std::ostream& err);

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
