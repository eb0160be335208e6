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

constexpr uint64_t kTruncate = 1U << 14;  // the headers of some systems are older than these two
constexpr uint64_t kDeviceControl = 1U << 15;

// The rights to change files, by the version of Landlock that introduced them. Reading and executing stay allowed.
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

// The changes that this kernel can forbid; 0 without Landlock.
uint64_t KnownChanges() {
    const auto version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    uint64_t known = 0;
    for (size_t i = 0; i < std::size(kChanges) && static_cast<long>(i) < version; ++i) {
        known |= kChanges[i];
    }
    return known;
}

// Does nothing for a path that cannot be opened.
void Allow(const Descriptor& ruleset, const std::filesystem::path& path, uint64_t changes) {
    const Descriptor top(open(path.c_str(), O_PATH | O_CLOEXEC));
    const landlock_path_beneath_attr rule{changes, top.Get()};
    syscall(SYS_landlock_add_rule, ruleset.Get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

// The folder of the cache file, which may not exist yet; empty if the host process makes no cache. The path of the
// cache may be a link to a file in another folder.
std::filesystem::path CacheFolder(const InterpreterParams& params) {
    if (!params.openvinoMakeCache || params.openvinoCachePath.empty()) {
        return {};
    }
    std::filesystem::path file = Platform::PathFromUtf8(params.openvinoCachePath);
    constexpr int kMostLinks = 40;  // the system follows no more links
    std::error_code error;
    for (int link = 0; link < kMostLinks && std::filesystem::is_symlink(file, error); ++link) {
        file = file.parent_path() / std::filesystem::read_symlink(file, error);
    }
    const std::filesystem::path folder = file.parent_path();
    return folder.empty() ? "." : folder;
}

// Applies to this thread and to threads that it starts later. Existing threads and open files keep their rights.
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
        Allow(ruleset, "/", known);  // the process writes its coverage when it ends
    }
    syscall(SYS_landlock_restrict_self, ruleset.Get(), 0);
}

}  // namespace

void EnterSandbox(const InterpreterParams& params) {
    static bool entered = false;
    if (entered) {
        return;
    }
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);  // Landlock and the filter need it too
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    if (RunsOnCpu(params)) {
        ForbidChangingFiles(CacheFolder(params));
        FilterSystemCalls();
        entered = true;
    }
}

}  // namespace Orvane
