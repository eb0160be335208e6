#include "platform/file.h"

#include "platform/path.h"

#include <filesystem>

namespace Orvane::Platform {

std::ifstream OpenInputFile(const std::string& path) {
    const std::filesystem::path file = PathFromUtf8(path);
    std::error_code ignored;
    if (IsMissing(file)) {
        throw FileError("there is no file " + path);
    }
    if (std::filesystem::is_directory(file, ignored)) {
        throw FileError(path + " is a folder, not a file");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw FileError::OfSystem("cannot open " + path);
    }
    return stream;
}

std::size_t ReadUpTo(std::istream& stream, const std::string& path, void* destination, std::size_t size) {
    stream.read(static_cast<char*>(destination), static_cast<std::streamsize>(size));
    if (stream.bad()) {
        throw FileError::OfSystem("cannot read " + path);
    }
    return static_cast<std::size_t>(stream.gcount());
}

std::string WeightsFileOf(const std::string& modelFile) {
    std::filesystem::path file = PathFromUtf8(modelFile);
    const std::filesystem::path name = file.filename();
    const bool isEnding = name.native().size() > 1 && name.native().rfind('.') == 0;
    return Utf8FromPath(isEnding ? file.replace_filename(".bin") : file.replace_extension("bin"));
}

}  // namespace Orvane::Platform
