#include "backends/openvino/mingw/private_file.h"

#include <cstdlib>

namespace Orvane {

namespace {

[[maybe_unused]] std::string InCodePage(const std::string& temporaryFolder) {
    return temporaryFolder;
}

// A standard library may take narrow texts for UTF-8, whereas the C runtime's environment has them in the code page.
[[maybe_unused]] std::string InCodePage(const std::wstring&) {
    for (const char* variable : {"TMP", "TEMP", "USERPROFILE"}) {  // as the system itself looks for the folder
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
        if (const char* value = std::getenv(variable); value != nullptr) {
            return value;
        }
    }
    return {};
}

}  // namespace

PrivateFile::PrivateFile() : folder(std::filesystem::temp_directory_path() / "orvane-private") {}

std::string PrivateFile::NarrowPath() const {
    return InCodePage(folder.Path().parent_path().native()) + "/" + folder.Path().filename().string() + "/" + kName;
}

}  // namespace Orvane
