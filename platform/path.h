#pragma once

#include <cstdint>
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

// While it lives, files that this process makes, and processes that it starts then, can be read by this user only. On
// Windows the folder decides who may read a file, and this does nothing. One thread at a time.
class OwnerOnlyFiles {
 public:
    OwnerOnlyFiles();
    ~OwnerOnlyFiles();  // NOLINT(performance-trivially-destructible): on Windows alone there is nothing to do
    OwnerOnlyFiles(const OwnerOnlyFiles&) = delete;
    OwnerOnlyFiles& operator=(const OwnerOnlyFiles&) = delete;

 private:
    uint32_t previous = 0;
};

}  // namespace Orvane::Platform
