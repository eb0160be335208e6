#include "platform/path.h"

#include <sys/stat.h>

#include <cerrno>

namespace Orvane::Platform {

std::filesystem::path PathFromUtf8(const std::string& text) {
    return std::filesystem::path(text);
}

std::string Utf8FromPath(const std::filesystem::path& path) {
    return path.native();
}

bool IsMissing(const std::filesystem::path& path) noexcept {
    struct stat attributes {};
    return stat(path.c_str(), &attributes) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

OwnerOnlyFiles::OwnerOnlyFiles() : previous(umask(S_IRWXG | S_IRWXO)) {}

OwnerOnlyFiles::~OwnerOnlyFiles() {
    umask(previous);
}

}  // namespace Orvane::Platform
