#include "platform/process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>

namespace Orvane::Platform {

ProcessMark::ProcessMark() noexcept : process(getpid()) {}

bool ProcessMark::IsThisProcess() const noexcept {
    return process == getpid();
}

void FailFast() noexcept {
    std::abort();
}

void BeginHost() {
    // A limit of 1 byte stops core files and, unlike 0, programs that take cores through a pipe as well.
    const rlimit noCore{1, 1};
    setrlimit(RLIMIT_CORE, &noCore);
    std::set_terminate(FailFast);
    // A client that is gone already would never send it; it holds no lock on its objects either, and so none opens.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        if (fcntl(standard, F_GETFD) < 0) {
            static_cast<void>(open("/dev/null", O_RDWR));  // the lowest number that is free, which is this one
        }
    }
}

std::string ProgramBeside(const std::string& name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? name : (program.parent_path() / name).string();
}

}  // namespace Orvane::Platform
