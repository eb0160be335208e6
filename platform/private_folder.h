#pragma once

#include "platform/whole_file.h"

#include <filesystem>
#include <system_error>

namespace Orvane::Platform {

// A new folder beside `place` that only this user may look into. It goes with this object, with what is in it. Where it
// cannot be made, the constructor throws std::filesystem::filesystem_error.
class PrivateFolder {
 public:
    explicit PrivateFolder(const std::filesystem::path& place) : name(place) {
        std::filesystem::create_directory(name.Path());
        std::filesystem::permissions(name.Path(), std::filesystem::perms::owner_all);
    }
    ~PrivateFolder() { Remove(); }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::filesystem::path& Path() const { return name.Path(); }

    // Already now, as far as the system lets go of what is in use.
    void Remove() noexcept {
        std::error_code ignored;
        std::filesystem::remove_all(name.Path(), ignored);
    }

 private:
    PartialFile name;
};

}  // namespace Orvane::Platform
