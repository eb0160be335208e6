#include "cli/files/input_file.h"

#include "cli/failure.h"
#include "platform/path.h"

#include <filesystem>

namespace Orvane::Cli {

std::ifstream OpenInputFile(const std::string& path) {
    const std::filesystem::path file = Platform::PathFromUtf8(path);
    std::error_code ignored;
    if (Platform::IsMissing(file)) {
        throw Failure("there is no file " + path);
    }
    if (std::filesystem::is_directory(file, ignored)) {
        throw Failure(path + " is a folder, not a file");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw Failure("cannot open " + path + ": " + SystemReason());
    }
    return stream;
}

std::size_t ReadUpTo(std::ifstream& file, const std::string& path, void* destination, std::size_t size) {
    file.read(static_cast<char*>(destination), static_cast<std::streamsize>(size));
    if (file.bad()) {
        throw Failure("cannot read " + path + ": " + SystemReason());
    }
    return static_cast<std::size_t>(file.gcount());
}

}  // namespace Orvane::Cli
