#include "platform/resources.h"

#include "platform/win32/handle.h"

#include <psapi.h>
#include <tlhelp32.h>

namespace Orvane::Platform {

namespace {

std::optional<MemoryUse> MemoryUseOf(HANDLE process) {
    PROCESS_MEMORY_COUNTERS counters{};
    if (GetProcessMemoryInfo(process, &counters, sizeof counters) == 0) {
        return std::nullopt;
    }
    return MemoryUse{counters.WorkingSetSize, counters.PeakWorkingSetSize};
}

// In units of the system; 0 when it does not tell.
uint64_t StartTime(HANDLE process) {
    FILETIME started{};
    FILETIME unused{};
    GetProcessTimes(process, &started, &unused, &unused, &unused);
    return uint64_t{started.dwHighDateTime} << 32 | started.dwLowDateTime;
}

}  // namespace

std::optional<MemoryUse> OwnMemoryUse() {
    return MemoryUseOf(GetCurrentProcess());
}

std::optional<MemoryUse> ChildMemoryUse() {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    const Handle owned(snapshot);
    std::optional<MemoryUse> last;
    // A process that is older than this one was started by another one that had this number.
    uint64_t lastStart = StartTime(GetCurrentProcess());
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more != 0; more = Process32NextW(snapshot, &entry)) {
        if (entry.th32ParentProcessID != GetCurrentProcessId()) {
            continue;
        }
        const Handle process(
            OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_VM_READ, FALSE, entry.th32ProcessID));
        const uint64_t start = process ? StartTime(process.Get()) : 0;
        if (start >= lastStart) {
            last = MemoryUseOf(process.Get());
            lastStart = start;
        }
    }
    return last;
}

}  // namespace Orvane::Platform
