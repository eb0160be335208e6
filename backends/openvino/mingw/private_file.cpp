#include "backends/openvino/mingw/private_file.h"

#include <cstdlib>

namespace Orvane {

namespace {

[[maybe_unused]] std::string InCodePage(const std::string& temporaryFolder) {
    return temporaryFolder;
}

// A standard library may treat narrow texts as UTF-8. The C runtime's environment has texts in the code page.
[[maybe_unused]] std::string InCodePage(const std::wstring&) {
    for (const char* variable : {"TMP", "TEMP", "USERPROFILE"}) {  // the system uses the same order
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
