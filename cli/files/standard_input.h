#pragma once

#include "cli/failure.h"
#include "platform/file.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Whether the path is "-": the standard input, or the standard output.
inline bool IsStandard(const std::string& path) {
    return path == "-";
}

// Returns the name of an input for messages.
inline std::string InputName(const std::string& path) {
    return IsStandard(path) ? "the standard input" : path;
}

// Returns all bytes of a file or of the standard input. Throws `Platform::FileError`.
inline std::string ReadInput(const std::string& path) {
    std::ostringstream bytes;
    if (IsStandard(path)) {
        bytes << std::cin.rdbuf();
    } else {
        bytes << Platform::OpenInputFile(path).rdbuf();
    }
    return bytes.str();
}

// Throws `WrongUsage` if several of these paths are "-": the program can read the standard input only once.
inline void RefuseSecondStandardInput(const std::vector<std::string>& paths) {
    if (std::count_if(paths.begin(), paths.end(), IsStandard) > 1) {
        throw WrongUsage("only one argument can be -, the standard input");
    }
}

}  // namespace Orvane::Cli
