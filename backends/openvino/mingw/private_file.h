#pragma once

#include "platform/private_folder.h"

#include <filesystem>
#include <string>

namespace Orvane {

// The path of one file in a new `PrivateFolder`, inside the user's folder for temporary files. The path cannot be
// guessed. The destructor removes the folder and the file.
class PrivateFile {
 public:
    // Creates the folder, not the file. Throws `FileError`.
    PrivateFile();

    std::filesystem::path Path() const { return folder.Path() / kName; }

    // The same path in the process's code page, for interfaces that take nothing else. The path does not exist if the
    // code page lacks a letter of the folder for temporary files.
    std::string NarrowPath() const;

 private:
    static constexpr const char* kName = "file";

    Platform::PrivateFolder folder;  // the name that it adds is plain ASCII
};

}  // namespace Orvane
