#include "platform/path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

bool CreatePrivateFile(const std::filesystem::path& path) noexcept {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return file >= 0 && close(file) == 0;
}

bool CreatePrivateFolder(const std::filesystem::path& path) noexcept {
    return mkdir(path.c_str(), S_IRWXU) == 0;
}

}  // namespace Orvane::Platform
