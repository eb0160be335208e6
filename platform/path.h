#pragma once

#include <filesystem>
#include <string>

namespace Orvane::Platform {

// The path that a UTF-8 text names. Standard file streams open it whatever letters it holds.
std::filesystem::path PathFromUtf8(const std::string& text);

// The other direction. On Windows every "\" has become a "/".
std::string Utf8FromPath(const std::filesystem::path& path);

// True when the system answers that the file, or a folder on the way to it, does not exist. False when it
// exists, and also when the question itself failed (no permission, for instance).
bool IsMissing(const std::filesystem::path& path) noexcept;

// Make an empty file, or a folder, that only this user may use, from the start and whatever the process's umask. On
// Windows the folder around it decides who may. False, with the reason in `LastError`, if it cannot be made or is there
// already.
bool CreatePrivateFile(const std::filesystem::path& path) noexcept;
bool CreatePrivateFolder(const std::filesystem::path& path) noexcept;

}  // namespace Orvane::Platform
