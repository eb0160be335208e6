#include "platform/process.h"

#include <sys/resource.h>

#include <cstdlib>
#include <exception>
#include <filesystem>

namespace Orvane::Platform {

void FailFast() noexcept {
    std::abort();
}

void EndSilently() {
    // A limit of 1 byte stops core files and, unlike 0, programs that take cores through a pipe as well.
    const rlimit noCore{1, 1};
    setrlimit(RLIMIT_CORE, &noCore);
    std::set_terminate(FailFast);
}

std::string ProgramBeside(const std::string& name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? name : (program.parent_path() / name).string();
}

}  // namespace Orvane::Platform
