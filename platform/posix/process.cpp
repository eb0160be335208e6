#include "platform/process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Orvane::Platform {

namespace {

// Holds this process's number, because `getpid` takes a system call. The kernel clears the page in a forked child.
struct alignas(4096) ForkClearedPage {
    std::atomic<pid_t> process;
};
ForkClearedPage forkClearedPage;
const bool isClearedByFork = madvise(&forkClearedPage, sizeof forkClearedPage, MADV_WIPEONFORK) == 0;

pid_t ThisProcess() noexcept {
    pid_t process = forkClearedPage.process.load(std::memory_order_relaxed);
    if (process == 0) {
        process = getpid();
        if (isClearedByFork) {
            forkClearedPage.process.store(process, std::memory_order_relaxed);
        }
    }
    return process;
}

// The file that contains this function; empty if the system does not report it. Asks the kernel, because the loader
// keeps the path as it was written. A relative path is wrong after a change of the working folder.
std::filesystem::path FileOfThisCode() {
    const auto address = reinterpret_cast<uintptr_t>(&FileOfThisCode);
    std::ifstream mappings("/proc/self/maps");
    for (std::string line; std::getline(mappings, line);) {
        uintptr_t begin = 0;
        uintptr_t end = 0;
        char dash = 0;
        std::istringstream range(line);
        range >> std::hex >> begin >> dash >> end;
        const size_t path = line.find('/');
        if (address >= begin && address < end && path != std::string::npos) {
            return line.substr(path);
        }
    }
    return {};
}

}  // namespace

ProcessMark::ProcessMark() noexcept : process(ThisProcess()) {}

bool ProcessMark::IsThisProcess() const noexcept {
    return process == ThisProcess();
}

void FailFast() noexcept {
    std::abort();
}

void BeginHost() {
    // A limit of 1 byte stops core files. Unlike 0, it also stops programs that take cores through a pipe.
    const rlimit noCore{1, 1};
    setrlimit(RLIMIT_CORE, &noCore);
    std::set_terminate(FailFast);
    // If the client is already dead, the signal never comes. But then no lock is held on its objects, and opening them
    // fails.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        if (fcntl(standard, F_GETFD) < 0) {
            static_cast<void>(open("/dev/null", O_RDWR));  // takes the lowest free number, which is this one
        }
    }
}

std::string ProgramBeside(const std::string& name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? name : (program.parent_path() / name).string();
}

std::string ProgramBesideThisCode(const std::string& name) {
    const std::filesystem::path folder = FileOfThisCode().parent_path();
    if (folder.empty()) {
        return name;
    }
    const std::filesystem::path inBin = folder.parent_path() / "bin" / name;
    std::error_code ignored;
    const bool isBeside = std::filesystem::exists(folder / name, ignored);
    return !isBeside && std::filesystem::exists(inBin, ignored) ? inBin.string() : (folder / name).string();
}

uint32_t LoadLibraryBesideThisCode(const std::string& /*name*/, const std::string& /*otherFolder*/) {
    return 0;
}

}  // namespace Orvane::Platform
