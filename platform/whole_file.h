#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Files that appear whole or not at all. Failures throw `FileError`.
namespace Orvane::Platform {

// The path to write a file to, with links followed. Throws if its folder does not exist, or if the path exists and is
// not an ordinary file.
std::filesystem::path FinalPlace(const std::string& path);

// An unused name beside `place`. The destructor removes the file of that name, unless it was renamed before.
class PartialFile {
 public:
    explicit PartialFile(std::filesystem::path place);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    const std::filesystem::path& Path() const { return path; }

 private:
    std::filesystem::path path;
};

// A file that appears whole or not at all. It is written under another name in the same folder, and `Commit` renames
// it. Without `Commit` nothing of it remains, and an earlier file is unchanged.
class WholeFile {
 public:
    // Throws if the file cannot be written. If its content comes from a secret file, pass that file as `source`. The
    // new file then has no more readers than `source`, and no more than the file that it replaces.
    explicit WholeFile(const std::string& path, const std::optional<std::string>& source = std::nullopt);
    // Each throws if the system fails, for instance if the disk is full.
    void Write(const void* data, std::size_t size);
    void Close();   // passes all bytes to the system
    void Commit();  // renames the closed file and sets its permissions

 private:
    std::string name;
    std::filesystem::path target;
    PartialFile partial;                                // outlives `stream`
    std::optional<std::filesystem::perms> permissions;  // empty: the system's default
    std::ofstream stream;
};

// Copies the file `in` to the file `out`, which may be the same file, and passes each chunk through `transform`. A
// chunk has `chunkSize` bytes; the last chunk is shorter and may be empty. If this function or `transform` throws,
// `out` stays as it was before.
void TransformFile(const std::string& in, const std::string& out, std::size_t chunkSize,
                   const std::function<void(std::vector<uint8_t>& chunk)>& transform);

}  // namespace Orvane::Platform
