#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Orvane::Testing {

// A new, empty folder, removed with all that is in it. Its name has Chinese letters, so that every test that uses
// files also shows that such paths work. All paths and texts are UTF-8.
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

// The bytes of a file; an exception when it cannot be read.
std::string ReadBytes(const std::string& path);

}  // namespace Orvane::Testing
