#pragma once

#include <filesystem>
#include <string>

namespace Orvane::Platform {

// The path for a UTF-8 text. Standard file streams can open it, whatever characters it contains.
std::filesystem::path PathFromUtf8(const std::string& text);

// The UTF-8 text for a path. On Windows it has "/" in place of every "\".
std::string Utf8FromPath(const std::filesystem::path& path);

// True if the system reports that the file, or a folder on the way to it, does not exist. False if it exists, and also
// if the system cannot report it (for instance without permission).
bool IsMissing(const std::filesystem::path& path) noexcept;

// Create an empty file or folder that only this user can use, from the start and with any umask. On Windows the parent
// folder decides who can use it. False, with the reason in `LastError`, if it exists already or cannot be created.
bool CreatePrivateFile(const std::filesystem::path& path) noexcept;
bool CreatePrivateFolder(const std::filesystem::path& path) noexcept;

}  // namespace Orvane::Platform
