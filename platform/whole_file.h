#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Files that appear whole or not at all. What goes wrong is thrown as `FileError`.
namespace Orvane::Platform {

// Where a file is to be written to, with links followed. Throws when there cannot be such a file: no folder for it, or
// what stands in its place is no ordinary file.
std::filesystem::path FinalPlace(const std::string& path);

// A name beside `place` that no file has. What is written there goes with this object, unless it is renamed before.
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

// A file that appears whole or not at all: it is written under another name beside its place and renamed there by
// `Commit`. Without `Commit` nothing of it stays and a file that was there before is as it was.
class WholeFile {
 public:
    // Throws when there cannot be such a file. One that is made from a file whose content is secret, `source`, is never
    // for more readers than that one, nor than the file that it replaces.
    explicit WholeFile(const std::string& path, const std::optional<std::string>& source = std::nullopt);
    // Each throws when the system cannot, with a full disk for instance.
    void Write(const void* data, std::size_t size);
    void Close();   // all bytes are now with the system
    void Commit();  // puts the closed file in its place, with its permissions

 private:
    std::string name;
    std::filesystem::path target;
    PartialFile partial;                                // outlives the stream into it
    std::optional<std::filesystem::perms> permissions;  // the system's own choice unless given
    std::ofstream stream;
};

// The file `in`, with `transform` done to each of its chunks of `chunkSize` bytes, the last one shorter and perhaps
// empty, to the file `out`, which may be the same. What either it or `transform` throws leaves no `out`, or an earlier
// one.
void TransformFile(const std::string& in, const std::string& out, std::size_t chunkSize,
                   const std::function<void(std::vector<uint8_t>& chunk)>& transform);

}  // namespace Orvane::Platform
