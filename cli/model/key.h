#pragma once

#include "cli/command.h"

#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The key of encrypted model files: as a text, or in a file.
struct KeyOptions {
    std::optional<std::string> key;
    std::optional<std::string> file;  // "-" is the standard input
};

// Returns --key and --key-file.
std::vector<Argument> ArgumentsForKey(KeyOptions& options, const std::string& description);

// Returns the key, or no value. Ignores a line end after the key in a file. Throws `Failure` if the file cannot be
// read, and `WrongUsage` for an empty key.
std::optional<std::string> ReadKey(const KeyOptions& options);

}  // namespace Orvane::Cli
