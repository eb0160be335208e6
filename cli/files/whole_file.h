#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

namespace Orvane::Cli {

// A file that appears whole or not at all: it is written under another name beside its place and renamed there by
// `Commit`. Without `Commit` nothing of it stays and a file that was there before is as it was.
class WholeFile {
 public:
    // Throws `Failure` when there cannot be such a file: no folder for it, not writable, or what stands in its
    // place is no ordinary file. A link is followed.
    explicit WholeFile(const std::string& path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    // Each throws `Failure` when the system cannot, with a full disk for instance.
    void Write(const void* data, std::size_t size);
    void Close();   // all bytes are now with the system
    void Commit();  // puts the closed file in its place

 private:
    std::string name;
    std::filesystem::path target;
    std::filesystem::path partial;
    std::ofstream stream;
};

}  // namespace Orvane::Cli
