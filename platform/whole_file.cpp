#include "platform/whole_file.h"

#include "platform/file.h"
#include "platform/path.h"

#include <random>
#include <utility>

namespace Orvane::Platform {
namespace {

// Empty if there is no such file.
std::optional<std::filesystem::perms> PermissionsOf(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    return std::filesystem::exists(status) ? std::optional(status.permissions()) : std::nullopt;
}

}  // namespace

std::filesystem::path FinalPlace(const std::string& path) {
    std::filesystem::path place = PathFromUtf8(path);
    std::error_code ignored;
    if (std::filesystem::is_symlink(place, ignored)) {
        place = std::filesystem::weakly_canonical(place, ignored);
    }
    const std::filesystem::file_status status = std::filesystem::status(place, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw FileError(path + (std::filesystem::is_directory(status) ? " is a folder" : " is not an ordinary file") +
                        "; name a file to write");
    }
    if (place.has_parent_path() && IsMissing(place.parent_path())) {
        throw FileError("there is no folder for " + path + "\nMake the folder first.");
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
    const std::optional<std::filesystem::perms> ofSource = source ? PermissionsOf(PathFromUtf8(*source)) : std::nullopt;
    if (ofSource) {
        permissions = permissions.value_or(*ofSource) & *ofSource;
    }
    if (permissions && !CreatePrivateFile(partial.Path())) {
        throw FileError::OfSystem("cannot write " + name);
    }
    stream.open(partial.Path(), std::ios::binary);
    if (!stream) {
        throw FileError::OfSystem("cannot write " + name);
    }
}

void WholeFile::Write(const void* data, std::size_t size) {
    if (!stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(size))) {
        throw FileError::OfSystem("cannot write " + name);
    }
}

void WholeFile::Close() {
    stream.close();
    if (!stream) {
        throw FileError::OfSystem("cannot write " + name);
    }
}

void WholeFile::Commit() {
    std::error_code error;
    if (permissions) {
        std::filesystem::permissions(partial.Path(), *permissions,
                                     error);  // some file systems have no permissions
    }
    std::filesystem::rename(partial.Path(), target, error);
    if (error) {
        throw FileError::OfSystem("cannot write " + name, static_cast<uint32_t>(error.value()));
    }
}

void TransformFile(const std::string& in, const std::string& out, std::size_t chunkSize,
                   const std::function<void(std::vector<uint8_t>& chunk)>& transform) {
    std::ifstream input = OpenInputFile(in);
    WholeFile output(out, in);
    std::vector<uint8_t> chunk;
    bool isLast = false;
    while (!isLast) {
        chunk.resize(chunkSize);
        chunk.resize(ReadUpTo(input, in, chunk.data(), chunk.size()));
        isLast = chunk.size() < chunkSize;
        transform(chunk);
        output.Write(chunk.data(), chunk.size());
    }
    input.close();  // `out` may replace `in`
    output.Close();
    output.Commit();
}

}  // namespace Orvane::Platform
