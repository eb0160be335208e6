#pragma once

#include <filesystem>
#include <string>

namespace Orvane {

// The place for one file in a new folder within the user's folder for temporary files. Neither name can be guessed, and
// where the system has such permissions only the user can look into the folder. Destruction removes it with its
// content.
class PrivateFile {
 public:
    // Makes the folder, not the file. Throws `std::filesystem::filesystem_error`.
    PrivateFile();
    ~PrivateFile();
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;

    std::filesystem::path Path() const { return folder / name; }

    // The same place in the process's code page, for interfaces that take nothing else. It leads nowhere when the code
    // page lacks a letter of the folder for temporary files.
    std::string NarrowPath() const;

 private:
    PrivateFile(std::filesystem::path newFolder, std::string newName);

    std::filesystem::path folder;
    std::string name;  // plain ASCII, like the folder's own
};

}  // namespace Orvane
