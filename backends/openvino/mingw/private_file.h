#pragma once

#include "platform/private_folder.h"

#include <filesystem>
#include <string>

namespace Orvane {

// The place for one file in a new `PrivateFolder` within the user's folder for temporary files. Its name cannot be
// guessed. Destruction removes it.
class PrivateFile {
 public:
    // Makes the folder, not the file. Throws `FileError`.
    PrivateFile();

    std::filesystem::path Path() const { return folder.Path() / kName; }

    // The same place in the process's code page, for interfaces that take nothing else. It leads nowhere if the code
    // page lacks a letter of the folder for temporary files.
    std::string NarrowPath() const;

 private:
    static constexpr const char* kName = "file";

    Platform::PrivateFolder folder;  // its own name is plain ASCII
};

}  // namespace Orvane
