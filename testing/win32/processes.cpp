#include "testing/win32/processes.h"

#include "platform/win32/wide_text.h"
#include "testing/within.h"

#include <gtest/gtest.h>

#include <tlhelp32.h>

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <stdexcept>

namespace Orvane::Testing {

namespace {

// In units of 100 ns. 0 for no process.
uint64_t StartTime(const Handle& process) {
    FILETIME start{};
    FILETIME other{};
    GetProcessTimes(process.Get(), &start, &other, &other, &other);
    return uint64_t{start.dwHighDateTime} << 32 | start.dwLowDateTime;
}

Handle OpenProcessToWatch(DWORD process) {
    return Handle(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
}

}  // namespace

bool UnderWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::vector<DWORD> Children(DWORD parent) {
    std::vector<DWORD> children;
    // Numbers are used again: who has this parent's, but is older, is the child of an earlier process.
    const uint64_t parentStart = StartTime(OpenProcessToWatch(parent));
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(snapshot.Get(), &entry); found != 0;
         found = Process32NextW(snapshot.Get(), &entry)) {
        const bool console = std::wcscmp(entry.szExeFile, L"conhost.exe") == 0;  // the system's, for whom had none
        if (entry.th32ParentProcessID == parent && !console) {
            const Handle child = OpenProcessToWatch(entry.th32ProcessID);
            if (Lives(child) && StartTime(child) >= parentStart) {
                children.push_back(entry.th32ProcessID);
            }
        }
    }
    return children;
}

Handle OpenProcessToEnd(DWORD process) {
    Handle handle(OpenProcess(PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, process));
    if (!handle) {
        throw std::runtime_error("no process " + std::to_string(process));
    }
    return handle;
}

bool Lives(const Handle& process, DWORD milliseconds) {
    return WaitForSingleObject(process.Get(), milliseconds) == WAIT_TIMEOUT;
}

DWORD End(const Handle& process) {
    if (Lives(process, 10'000)) {
        ADD_FAILURE() << "the process does not end";
        TerminateProcess(process.Get(), STILL_ACTIVE);
    }
    DWORD exitCode = STILL_ACTIVE;
    GetExitCodeProcess(process.Get(), &exitCode);
    return exitCode;
}

bool NoChildren() {
    if (Within(std::chrono::seconds(10), [] { return Children().empty(); })) {
        return true;
    }
    for (const DWORD child : Children()) {
        TerminateProcess(Handle(OpenProcess(PROCESS_TERMINATE, FALSE, child)).Get(), 1);
    }
    return false;
}

Program Start(const std::string& path, const std::string& arguments) {
    std::wstring commandLine = Platform::WideFromUtf8("\"" + path + "\" " + arguments);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    Handle job(CreateJobObjectW(nullptr, nullptr));
    if (SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) == 0 ||
        CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                       &startup, &created) == 0) {
        throw std::runtime_error("cannot start " + path);
    }
    const Handle thread(created.hThread);
    AssignProcessToJobObject(job.Get(), created.hProcess);
    ResumeThread(thread.Get());
    return {std::move(job), Handle(created.hProcess), created.dwProcessId};
}

size_t HandleCount() {
    constexpr uintptr_t kLast = 32'768;  // handles are multiples of 4; a leak fills the low ones first
    size_t count = 0;
    for (uintptr_t value = 4; value <= kLast; value += 4) {
        DWORD flags = 0;
        auto* const handle = reinterpret_cast<void*>(value);  // NOLINT(performance-no-int-to-ptr): handles are numbers
        count += GetHandleInformation(handle, &flags) != 0 ? 1 : 0;
    }
    return count;
}

Watchdog::Watchdog() {
    const auto bite = [](void*, BOOLEAN) {
        std::fputs("the test does not end\n", stderr);
        std::fflush(stderr);
        TerminateProcess(GetCurrentProcess(), 1);
    };
    CreateTimerQueueTimer(&timer, nullptr, bite, nullptr, 120'000, 0, WT_EXECUTEONLYONCE);
}

Watchdog::~Watchdog() {
    DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
}

}  // namespace Orvane::Testing
