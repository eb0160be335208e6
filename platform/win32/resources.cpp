#include "platform/resources.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

#include <psapi.h>
#include <tlhelp32.h>

#include <array>
#include <thread>
#include <utility>

namespace Orvane::Platform {

namespace {

std::optional<MemoryUse> MemoryUseOf(HANDLE process) {
    PROCESS_MEMORY_COUNTERS counters{};
    if (GetProcessMemoryInfo(process, &counters, sizeof counters) == 0) {
        return std::nullopt;
    }
    return MemoryUse{counters.WorkingSetSize, counters.PeakWorkingSetSize};
}

uint64_t Units(const FILETIME& time) {
    return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

double Seconds(const FILETIME& time) {
    return static_cast<double>(Units(time)) / 1e7;
}

// In units of 100 ns; 0 if the system does not report it.
uint64_t StartTime(HANDLE process) {
    FILETIME started{};
    FILETIME unused{};
    GetProcessTimes(process, &started, &unused, &unused, &unused);
    return Units(started);
}

double SecondsOf(HANDLE process) {
    FILETIME unused{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(process, &unused, &unused, &kernel, &user);
    return Seconds(kernel) + Seconds(user);
}

// Empty if this process has no child.
Handle LastChild() {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    Handle last;
    if (snapshot == INVALID_HANDLE_VALUE) {
        return last;
    }
    const Handle owned(snapshot);
    // If a child is older than this process, another process with the same number started it.
    uint64_t lastStart = StartTime(GetCurrentProcess());
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more != 0; more = Process32NextW(snapshot, &entry)) {
        if (entry.th32ParentProcessID != GetCurrentProcessId()) {
            continue;
        }
        Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_VM_READ, FALSE, entry.th32ProcessID));
        const uint64_t start = process ? StartTime(process.Get()) : 0;
        if (start >= lastStart) {
            last = std::move(process);
            lastStart = start;
        }
    }
    return last;
}

// A text from the registry; empty if there is no such text.
std::string RegistryText(const wchar_t* key, const wchar_t* name) {
    std::array<wchar_t, 256> text{};
    auto size = static_cast<DWORD>(sizeof text);
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, text.data(), &size);
    return status == ERROR_SUCCESS ? Utf8FromWide(text.data()) : "";
}

}  // namespace

std::optional<MemoryUse> OwnMemoryUse() {
    return MemoryUseOf(GetCurrentProcess());
}

std::optional<MemoryUse> ChildMemoryUse() {
    const Handle child = LastChild();
    return child ? MemoryUseOf(child.Get()) : std::nullopt;
}

Machine DescribeMachine() {
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    GlobalMemoryStatusEx(&memory);
    return {RegistryText(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", L"ProcessorNameString"),
            std::thread::hardware_concurrency(), memory.ullTotalPhys,
            "Windows, build " + RegistryText(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", L"CurrentBuild")};
}

std::optional<ProcessorTime> ProcessorTimeSoFar() {
    FILETIME idle{};
    FILETIME kernel{};  // includes the idle time
    FILETIME user{};
    if (GetSystemTimes(&idle, &kernel, &user) == 0) {
        return std::nullopt;
    }
    const Handle child = LastChild();
    const double whole = Seconds(kernel) + Seconds(user);
    return ProcessorTime{whole, whole - Seconds(idle),
                         SecondsOf(GetCurrentProcess()) + (child ? SecondsOf(child.Get()) : 0), 0};
}

}  // namespace Orvane::Platform
