#pragma once

#include "platform/file.h"
#include "platform/path.h"
#include "platform/whole_file.h"

#include <filesystem>
#include <system_error>

namespace Orvane::Platform {

// A new folder beside `place` that only this user may use. The destructor removes it with its content. The constructor
// throws `FileError`, which names `place`, if it cannot be made.
class PrivateFolder {
 public:
    explicit PrivateFolder(const std::filesystem::path& place) : name(place) {
        if (!CreatePrivateFolder(name.Path())) {
            throw FileError::OfSystem("cannot write " + Utf8FromPath(place));
        }
    }
    ~PrivateFolder() { Remove(); }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::filesystem::path& Path() const { return name.Path(); }

    // Removes the folder before the destructor does. Files that are in use may stay until then.
    void Remove() noexcept {
        std::error_code ignored;
        std::filesystem::remove_all(name.Path(), ignored);
    }

 private:
    PartialFile name;
};

}  // namespace Orvane::Platform
