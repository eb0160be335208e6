#include "host/sandbox.h"

#include "host/posix_call_filter.h"
#include "platform/path.h"
#include "platform/posix/descriptor.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace Orvane {

namespace {

using Platform::Descriptor;

constexpr uint64_t kTruncate = 1U << 14;  // these two are younger than the headers of some systems
constexpr uint64_t kDeviceControl = 1U << 15;

// What changes files, by the version of Landlock that first knew it. Reading and executing are not asked about.
constexpr uint64_t kChanges[] = {
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
        LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
        LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
        LANDLOCK_ACCESS_FS_MAKE_SYM,
    LANDLOCK_ACCESS_FS_REFER,
    kTruncate,
    0,
    kDeviceControl,
};
constexpr uint64_t kWriteFile = LANDLOCK_ACCESS_FS_WRITE_FILE;
constexpr uint64_t kMakeCache = kWriteFile | LANDLOCK_ACCESS_FS_MAKE_REG | kTruncate;

// The changes that this kernel can forbid; none where it has no Landlock.
uint64_t KnownChanges() {
    const auto version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    uint64_t known = 0;
    for (size_t i = 0; i < std::size(kChanges) && static_cast<long>(i) < version; ++i) {
        known |= kChanges[i];
    }
    return known;
}

// A path that cannot be opened is not written either.
void Allow(const Descriptor& ruleset, const std::filesystem::path& path, uint64_t changes) {
    const Descriptor top(open(path.c_str(), O_PATH | O_CLOEXEC));
    const landlock_path_beneath_attr rule{changes, top.Get()};
    syscall(SYS_landlock_add_rule, ruleset.Get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

// The folder in which the cache file is, or will be made; empty when no cache is to be made. The path of the cache may
// be a link to a file in another folder.
std::filesystem::path CacheFolder(const InterpreterParams& params) {
    if (!params.openvinoMakeCache || params.openvinoCachePath.empty()) {
        return {};
    }
    std::filesystem::path file = Platform::PathFromUtf8(params.openvinoCachePath);
    constexpr int kMostLinks = 40;  // the system follows no more
    std::error_code error;
    for (int link = 0; link < kMostLinks && std::filesystem::is_symlink(file, error); ++link) {
        file = file.parent_path() / std::filesystem::read_symlink(file, error);
    }
    const std::filesystem::path folder = file.parent_path();
    return folder.empty() ? "." : folder;
}

// Binds this thread and those that it starts; threads that there are already go on as before. What is open stays open.
void ForbidChangingFiles(const std::filesystem::path& cacheFolder) {
    const uint64_t known = KnownChanges();
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = known;
    const Descriptor ruleset(static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    if (known == 0 || !ruleset) {
        return;
    }
    Allow(ruleset, "/dev/null", kWriteFile);
    if (!cacheFolder.empty()) {
        Allow(ruleset, cacheFolder, kMakeCache & known);
    }
    if (kInstrumented) {
        Allow(ruleset, "/", known);  // the coverage of a host is written at its end
    }
    syscall(SYS_landlock_restrict_self, ruleset.Get(), 0);
}

}  // namespace

void EnterSandbox(const InterpreterParams& params) {
    static bool entered = false;
    if (entered) {
        return;
    }
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);  // the two below need it, too
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    if (RunsOnCpu(params)) {
        ForbidChangingFiles(CacheFolder(params));
        FilterSystemCalls();
        entered = true;
    }
}

}  // namespace Orvane
