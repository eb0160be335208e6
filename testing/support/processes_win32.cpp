#include "testing/support/processes.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

#include <windows.h>

#include <tlhelp32.h>

#include <cstdio>
#include <cwchar>
#include <stdexcept>

namespace Orvane::Testing {

namespace {

constexpr DWORD kKilled = 0xDEAD;
constexpr DWORD kFastFail = 0xC0000409;

using Platform::Handle;

// In units of 100 ns. 0 if there is no process.
uint64_t StartTime(const Handle& process) {
    FILETIME start{};
    FILETIME other{};
    GetProcessTimes(process.Get(), &start, &other, &other, &other);
    return uint64_t{start.dwHighDateTime} << 32 | start.dwLowDateTime;
}

Handle Open(DWORD process, DWORD rights = 0) {
    return Handle(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION | rights, FALSE, process));
}

bool HasEndedAfter(const Handle& process, DWORD milliseconds) {
    return WaitForSingleObject(process.Get(), milliseconds) == WAIT_OBJECT_0;
}

}  // namespace

struct Process::State {
    Handle job;  // only if this object started the process; closing it ends the process
    Handle process;
};

Process::Process(uint32_t number) : state(std::make_shared<State>()) {
    state->process = Open(number, PROCESS_TERMINATE);
    if (!state->process) {
        throw std::runtime_error("no process " + std::to_string(number));
    }
}

Process::Process(const std::string& program, const std::string& argument) : state(std::make_shared<State>()) {
    std::wstring commandLine = Platform::WideFromUtf8("\"" + program + "\" " + argument);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    state->job = Handle(CreateJobObjectW(nullptr, nullptr));
    if (SetInformationJobObject(state->job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) == 0 ||
        CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr,
                       &startup, &created) == 0) {
        throw std::runtime_error("cannot start " + program + ": error " + std::to_string(GetLastError()));
    }
    const Handle thread(created.hThread);
    state->process = Handle(created.hProcess);
    AssignProcessToJobObject(state->job.Get(), created.hProcess);
    ResumeThread(thread.Get());
}

bool Process::Lives(std::chrono::milliseconds time) const {
    return !HasEndedAfter(state->process, static_cast<DWORD>(time.count()));
}

void Process::Kill() const {
    TerminateProcess(state->process.Get(), kKilled);
}

std::string Process::End() const {
    if (Lives(kPatience)) {
        Kill();
        throw std::runtime_error("a process does not end");
    }
    DWORD exitCode = STILL_ACTIVE;
    GetExitCodeProcess(state->process.Get(), &exitCode);
    return exitCode == kFastFail ? "failed fast"
           : exitCode == kKilled ? "killed"
                                 : std::to_string(static_cast<int32_t>(exitCode));
}

uint32_t Process::Number() const {
    return GetProcessId(state->process.Get());
}

std::vector<uint32_t> Children(uint32_t parent) {
    parent = parent != 0 ? parent : GetCurrentProcessId();
    std::vector<uint32_t> children;
    // Windows reuses numbers. A process that is older than this parent is the child of an earlier one with its number.
    const uint64_t parentStart = StartTime(Open(parent));
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(snapshot.Get(), &entry); found != 0;
         found = Process32NextW(snapshot.Get(), &entry)) {
        const bool console = std::wcscmp(entry.szExeFile, L"conhost.exe") == 0;  // started by the system
        if (entry.th32ParentProcessID == parent && !console) {
            const Handle child = Open(entry.th32ProcessID);
            if (!HasEndedAfter(child, 0) && StartTime(child) >= parentStart) {
                children.push_back(entry.th32ProcessID);
            }
        }
    }
    return children;
}

std::string LeftBehind() {
    if (Within(kPatience, [] { return Children().empty(); })) {
        return "";
    }
    for (const uint32_t child : Children()) {
        Process(child).Kill();
    }
    return "children";
}

std::string LeftBehindBy(uint32_t client, uint32_t /*moduleWord*/) {
    return Within(kPatience, [client] { return Children(client).empty(); }) ? "" : "hosts";
}

std::string WhyNotKilledAtStart() {
    return "a host that loses its client before it is in the job stays, suspended; and Wine may hang when a process is "
           "killed that is not complete yet";
}

// Counts handles one by one, because Wine does not support asking for the total.
std::vector<size_t> Footprint() {
    constexpr uintptr_t kLast = 32'768;  // handles are multiples of 4; a leak fills the low values first
    size_t count = 0;
    for (uintptr_t value = 4; value <= kLast; value += 4) {
        DWORD flags = 0;
        auto* const handle = reinterpret_cast<void*>(value);  // NOLINT(performance-no-int-to-ptr): handles are numbers
        count += GetHandleInformation(handle, &flags) != 0 ? 1 : 0;
    }
    return {count};
}

void SetTemporaryFolder(const std::string& folder) {
    SetEnvironmentVariableW(L"TMP", Platform::WideFromUtf8(folder).c_str());
}

Watchdog::Watchdog() {
    const auto bite = [](void*, BOOLEAN) {
        std::fputs("the test does not end\n", stderr);
        std::fflush(stderr);
        TerminateProcess(GetCurrentProcess(), 1);
    };
    CreateTimerQueueTimer(&timer, nullptr, bite, nullptr, 240'000, 0, WT_EXECUTEONLYONCE);
}

Watchdog::~Watchdog() {
    DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
}

}  // namespace Orvane::Testing
