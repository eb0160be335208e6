#pragma once

#include "cli/command.h"

#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The two ways to give the key of encrypted model files.
struct KeyOptions {
    std::optional<std::string> key;
    std::optional<std::string> file;  // "-" is the standard input
};

// --key and --key-file.
std::vector<Argument> ArgumentsForKey(KeyOptions& options, const std::string& description);

// The key that was given, or no value. Ignores a line end after the key in a file. Throws `Failure` if the file cannot
// be read, and `WrongUsage` for an empty key.
std::optional<std::string> ReadKey(const KeyOptions& options);

}  // namespace Orvane::Cli
