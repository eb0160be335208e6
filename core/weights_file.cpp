#include "core/weights_file.h"

#include "platform/path.h"

#include <filesystem>

namespace Orvane {

std::string WeightsFileOf(const std::string& modelFile) {
    std::filesystem::path file = Platform::PathFromUtf8(modelFile);
    const std::filesystem::path name = file.filename();
    const bool isEnding = name.native().size() > 1 && name.native().rfind('.') == 0;
    return Platform::Utf8FromPath(isEnding ? file.replace_filename(".bin") : file.replace_extension("bin"));
}

}  // namespace Orvane
