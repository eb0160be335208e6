#include "cli/files/whole_file.h"

#include "cli/failure.h"
#include "platform/path.h"

#include <random>
#include <utility>

namespace Orvane::Cli {
namespace {

// Of the file, when there is one.
std::optional<std::filesystem::perms> PermissionsOf(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    return std::filesystem::exists(status) ? std::optional(status.permissions()) : std::nullopt;
}

}  // namespace

std::filesystem::path FinalPlace(const std::string& path) {
    std::filesystem::path place = Platform::PathFromUtf8(path);
    std::error_code ignored;
    if (std::filesystem::is_symlink(place, ignored)) {
        place = std::filesystem::weakly_canonical(place, ignored);
    }
    const std::filesystem::file_status status = std::filesystem::status(place, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw Failure(path + (std::filesystem::is_directory(status) ? " is a folder" : " is no ordinary file") +
                      "; name a file to write");
    }
    if (place.has_parent_path() && Platform::IsMissing(place.parent_path())) {
        throw Failure("there is no folder for " + path, {"Make the folder first."});
    }
    return place;
}

PartialFile::PartialFile(std::filesystem::path place) : path(std::move(place)) {
    std::random_device random;
    path += ".partial-" + std::to_string(random()) + std::to_string(random());
}

PartialFile::~PartialFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

WholeFile::WholeFile(const std::string& path, const std::optional<std::string>& source)
    : name(path), target(FinalPlace(path)), partial(target), permissions(PermissionsOf(target)) {
    const std::optional<std::filesystem::perms> ofSource =
        source ? PermissionsOf(Platform::PathFromUtf8(*source)) : std::nullopt;
    if (ofSource) {
        permissions = permissions.value_or(*ofSource) & *ofSource;
    }
    std::optional<Platform::OwnerOnlyFiles> ownerOnly;
    if (permissions) {
        ownerOnly.emplace();
    }
    stream.open(partial.Path(), std::ios::binary);
    if (!stream) {
        throw Failure("cannot write " + name + ": " + SystemReason());
    }
}

void WholeFile::Write(const void* data, std::size_t size) {
    if (!stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(size))) {
        throw Failure("cannot write " + name + ": " + SystemReason());
    }
}

void WholeFile::Close() {
    stream.close();
    if (!stream) {
        throw Failure("cannot write " + name + ": " + SystemReason());
    }
}

void WholeFile::Commit() {
    std::error_code error;
    if (permissions) {
        std::filesystem::permissions(partial.Path(), *permissions,
                                     error);  // where the file system has none, there are none
    }
    std::filesystem::rename(partial.Path(), target, error);
    if (error) {
        throw Failure("cannot write " + name + ": " + error.message());
    }
}

}  // namespace Orvane::Cli
