#include "cli/files/bytes.h"

#include "cli/failure.h"
#include "platform/file.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace Orvane::Cli {

std::string InputName(const std::string& path) {
    return IsStandard(path) ? "the standard input" : path;
}

void RefuseSecondStandardInput(const std::vector<std::string>& paths) {
    if (std::count_if(paths.begin(), paths.end(), IsStandard) > 1) {
        throw WrongUsage("only one argument can be -, the standard input");
    }
}

std::string ReadInput(const std::string& path, std::size_t most) {
    if (IsStandard(path)) {
        return ReadAll(std::cin, InputName(path), most);
    }
    std::ifstream file = Platform::OpenInputFile(path);
    return ReadAll(file, path, most);
}

std::string ReadAll(std::istream& stream, const std::string& name, std::size_t most) {
    constexpr std::size_t kPiece = 1 << 20;
    std::string bytes;
    for (std::size_t read = 1; read > 0 && bytes.size() < most;) {
        const std::size_t before = bytes.size();
        bytes.resize(before + std::min(kPiece, most - before));
        read = Platform::ReadUpTo(stream, name, bytes.data() + before, bytes.size() - before);
        bytes.resize(before + read);
    }
    return bytes;
}

void WriteFile(const std::string& path, std::string_view bytes) {
    Platform::WholeFile file(path);
    file.Write(bytes.data(), bytes.size());
    file.Close();
    file.Commit();
}

std::unique_ptr<Platform::PrivateFolder> TemporaryFolder() {
    std::error_code error;
    const std::filesystem::path place = std::filesystem::temp_directory_path(error);
    if (error) {
        throw Failure("there is no folder for temporary files",
                      {"Set the environment variable TMPDIR, on Windows TMP, to a folder that exists."});
    }
    return std::make_unique<Platform::PrivateFolder>(place / "orvane");
}

}  // namespace Orvane::Cli
