#include "cli/model/key.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"

namespace Orvane::Cli {
namespace {

// More than any key has, so that a key that is too long is refused.
constexpr std::size_t kMostBytes = 64;

}  // namespace

std::vector<Argument> ArgumentsForKey(KeyOptions& options, const std::string& description) {
    return {{"--key", &options.key, "K", description},
            {"--key-file",
             &options.file,
             "FILE",
             "Read the key from this file; other users can see a --key in the list of processes",
             {.excludes = "--key", .offer = Offer::Files}}};
}

std::vector<uint8_t> ReadKey(const KeyOptions& options) {
    std::string key = options.file ? ReadInput(*options.file, kMostBytes) : options.key.value_or("");
    for (const char lineEnd : {'\n', '\r'}) {
        if (options.file && key.ends_with(lineEnd)) {
            key.pop_back();
        }
    }
    if (options.file && key.empty()) {
        throw WrongUsage("the key in " + *options.file + " is empty; give 1 to 4 bytes");
    }
    return {key.begin(), key.end()};
}

}  // namespace Orvane::Cli
