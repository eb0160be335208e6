#pragma once

#include "cli/command.h"

#include <cstdint>
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

// Returns the key; empty if no key is given. Ignores a line end after the key in a file. Throws `Platform::FileError`
// if the file cannot be read, and `WrongUsage` if its key is empty.
std::vector<uint8_t> ReadKey(const KeyOptions& options);

}  // namespace Orvane::Cli
