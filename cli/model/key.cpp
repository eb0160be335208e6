#include "cli/model/key.h"

#include "cli/failure.h"
#include "cli/files/standard_input.h"
#include "platform/file.h"

#include <array>

namespace Orvane::Cli {
namespace {

// More than any key has, so that a key that is too long is refused.
constexpr std::size_t kMostBytes = 64;

std::string ReadKeyFile(const std::string& path) {
    std::array<char, kMostBytes> bytes{};
    if (IsStandard(path)) {
        std::cin.read(bytes.data(), bytes.size());
        return {bytes.data(), static_cast<std::size_t>(std::cin.gcount())};
    }
    std::ifstream file = Platform::OpenInputFile(path);
    return {bytes.data(), Platform::ReadUpTo(file, path, bytes.data(), bytes.size())};
}

}  // namespace

std::vector<Argument> ArgumentsForKey(KeyOptions& options, const std::string& description) {
    return {{"--key", &options.key, "K", description},
            {"--key-file",
             &options.file,
             "FILE",
             "Read the key from this file; other users can see a --key in the list of processes",
             {.excludes = "--key", .offer = Offer::Files}}};
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
