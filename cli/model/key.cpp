#include "cli/model/key.h"

#include "cli/failure.h"
#include "platform/input_file.h"

#include <CLI/CLI.hpp>
#include <array>
#include <iostream>

namespace Orvane::Cli {
namespace {

// Longer than any key, so that one that is too long is seen to be.
constexpr std::size_t kMostBytes = 64;

std::string ReadKeyFile(const std::string& path) {
    std::array<char, kMostBytes> bytes{};
    if (path == "-") {
        std::cin.read(bytes.data(), bytes.size());
        return {bytes.data(), static_cast<std::size_t>(std::cin.gcount())};
    }
    std::ifstream file = Platform::OpenInputFile(path);
    return {bytes.data(), Platform::ReadUpTo(file, path, bytes.data(), bytes.size())};
}

}  // namespace

void AddKeyOptions(CLI::App& app, KeyOptions& options, const std::string& description) {
    CLI::Option* key = app.add_option("--key", options.key, description)->type_name("K");
    app.add_option("--key-file", options.file, "The same from a file, or with - from the standard input")
        ->type_name("FILE")
        ->excludes(key);
}

std::optional<std::string> ReadKey(const KeyOptions& options) {
    RefuseEmpty("--key", options.key, "1 to 4 bytes");
    RefuseEmpty("--key-file", options.file, "a file with a key of 1 to 4 bytes");
    if (!options.file) {
        return options.key;
    }
    std::string key = ReadKeyFile(*options.file);
    for (const char lineEnd : {'\n', '\r'}) {
        if (!key.empty() && key.back() == lineEnd) {
            key.pop_back();
        }
    }
    RefuseEmpty("the key in " + *options.file, key, "1 to 4 bytes");
    return key;
}

}  // namespace Orvane::Cli
