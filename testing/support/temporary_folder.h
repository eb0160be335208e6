#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Orvane::Testing {

// A new, empty folder. The destructor removes it with its contents. Its name has Chinese characters, so that every test
// with files also tests such paths. All paths and texts are UTF-8.
class TemporaryFolder {
 public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path(const std::string& name) const;
    std::string Write(const std::string& name, const std::string& bytes) const;  // returns the path
    std::vector<std::string> Names() const;                                      // of everything in the folder, sorted

 private:
    std::filesystem::path folder;
};

// Returns the bytes of a file. Throws if it cannot be read.
std::string ReadBytes(const std::string& path);

}  // namespace Orvane::Testing
