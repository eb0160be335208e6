// Loads a model, and makes its cache file.
#include <orvane/log.h>

#include "core/call_watch.h"
#include "platform/path.h"
#include "platform/private_folder.h"
#include "platform/whole_file.h"
#include "sdk/c/model.h"

#include <exception>
#include <filesystem>
#include <optional>

namespace Orvane::C {

namespace {

// Reads the cache before the rename, because the SDK does not report a failed write.
void PlaceCache(const std::filesystem::path& made, const std::filesystem::path& place, LoadRequest request) {
    request.params.openvinoMakeCache = false;
    Interpreter reader;
    if (!std::filesystem::exists(made)) {
        throw Refused("it cannot be written");
    }
    if (const Status status = reader.Init(request.params); !status.Ok()) {
        throw Refused("it cannot be read: " + status.message);
    }
    using std::filesystem::perms;
    std::filesystem::permissions(made, perms::owner_read | perms::owner_write);
    std::filesystem::rename(made, place);
}

void LogNoCache(const LoadRequest& request, const std::exception& error) {
    Log(kLogLevelError, "[ORVANE]:the cache file %s was not written: %s", request.params.openvinoCachePath.c_str(),
        error.what());
}

Status LoadAndMakeCache(Interpreter& target, const LoadRequest& request) {
    std::filesystem::path place;
    std::optional<Platform::PrivateFolder> folder;
    LoadRequest making = request;
    try {
        place = Platform::FinalPlace(request.params.openvinoCachePath);
        folder.emplace(place);
        making.params.openvinoCachePath = Platform::Utf8FromPath(folder->Path() / "cache");
    } catch (const std::exception& error) {
        LogNoCache(request, error);
        making.params.openvinoCachePath.clear();
        making.params.openvinoMakeCache = false;
        return target.Init(making.params);
    }
    Status status = target.Init(making.params);
    if (status.Ok()) {
        try {
            PlaceCache(folder->Path() / "cache", place, making);
        } catch (const CallStopped&) {
            throw;
        } catch (const std::exception& error) {
            LogNoCache(request, error);
        }
    }
    return status;
}

}  // namespace

Status LoadModel(Interpreter& target, const LoadRequest& request) {
    const InterpreterParams& params = request.params;
    const bool makesCache =
        params.openvinoMakeCache && Platform::IsMissing(Platform::PathFromUtf8(params.openvinoCachePath));
    return makesCache ? LoadAndMakeCache(target, request) : target.Init(params);
}

}  // namespace Orvane::C
