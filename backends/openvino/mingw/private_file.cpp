#include "backends/openvino/mingw/private_file.h"

#include "platform/path.h"

#include <cstdlib>
#include <random>
#include <sstream>
#include <system_error>
#include <utility>

namespace Orvane {

namespace {

namespace fs = std::filesystem;

std::string UnguessableName() {
    std::random_device random;
    std::ostringstream name;
    name << "orvane-private" << std::hex;
    for (int i = 0; i < 4; ++i) {
        name << '-' << random();
    }
    return name.str();
}

fs::path NewFolder() {
    const Platform::OwnerOnlyFiles ownerOnly;  // from the start, and without a change that a sandbox refuses
    fs::path folder = fs::temp_directory_path() / UnguessableName();
    if (!fs::create_directory(folder)) {
        throw fs::filesystem_error("cannot create", folder, std::make_error_code(std::errc::file_exists));
    }
    return folder;
}

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

PrivateFile::PrivateFile() : PrivateFile(NewFolder(), UnguessableName()) {}

PrivateFile::PrivateFile(fs::path newFolder, std::string newName)
    : folder(std::move(newFolder)), name(std::move(newName)) {}

PrivateFile::~PrivateFile() {
    std::error_code error;
    fs::remove_all(folder, error);
}

std::string PrivateFile::NarrowPath() const {
    return InCodePage(folder.parent_path().native()) + "/" + folder.filename().string() + "/" + name;
}

}  // namespace Orvane
