#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace Orvane::Cli {

// The two ways to give the key of encrypted model files.
struct KeyOptions {
    std::optional<std::string> key;
    std::optional<std::string> file;  // "-" is the standard input
};

// Adds --key and --key-file to a subcommand. Parsing fills `options`, which must live as long.
void AddKeyOptions(CLI::App& app, KeyOptions& options, const std::string& description);

// The key that was given; none when there is none. In a file a line end behind the key does not count. Throws `Failure`
// when the file cannot be read, and `WrongUsage` for an empty key.
std::optional<std::string> ReadKey(const KeyOptions& options);

}  // namespace Orvane::Cli
