#include "platform/host_process.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace Orvane::Platform {

static_assert(TOKEN_ALL_ACCESS == 0x000F01FF);

struct HostProcess::State {
    Handle process;
    Handle job;  // destroyed first: this ends the host process
};

namespace {

bool SetKillOnClose(const Handle& job) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    return SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) != 0;
}

// False on failure. A failed start shows no dialogue.
bool StartSuspended(HANDLE token, const std::string& program, const std::string& arguments,
                    PROCESS_INFORMATION& created) {
    const std::wstring text = L"\"" + WideFromUtf8(program) + L"\" " + WideFromUtf8(arguments);
    std::array<wchar_t, 1'048> commandLine{};  // the system may write into it
    if (text.size() >= commandLine.size()) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    text.copy(commandLine.data(), text.size());

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    const UINT previousMode = SetErrorMode(SEM_FAILCRITICALERRORS);
    const BOOL started = CreateProcessAsUserW(token, nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                                              CREATE_SUSPENDED, nullptr, nullptr, &startup, &created);
    const LastErrorGuard guard;
    SetErrorMode(previousMode);
    return started != 0;
}

}  // namespace

std::optional<LaunchStep> HostProcess::Launch(const std::string& program, const std::string& arguments) {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &token) == 0) {
        return LaunchStep::OpenToken;
    }
    Handle job(CreateJobObjectW(nullptr, nullptr));
    if (!job) {
        return LaunchStep::CreateJob;
    }
    if (!SetKillOnClose(job)) {
        return LaunchStep::LimitJob;
    }
    PROCESS_INFORMATION created{};
    if (!StartSuspended(token, program, arguments, created)) {
        return LaunchStep::StartProgram;
    }
    if (AssignProcessToJobObject(job.Get(), created.hProcess) == 0) {
        return LaunchStep::AssignToJob;
    }
    ResumeThread(created.hThread);
    state = Owned(new State{Handle(created.hProcess), std::move(job)});
    CloseHandle(created.hThread);
    CloseHandle(token);
    return std::nullopt;
}

bool HostProcess::IsAlive() const {
    DWORD exitCode = 0;
    return GetExitCodeProcess(state.Get()->process.Get(), &exitCode) != 0 && exitCode == STILL_ACTIVE;
}

ProcessEnd HostProcess::End() const {
    DWORD exitCode = 0;
    const bool known = GetExitCodeProcess(state.Get()->process.Get(), &exitCode) != 0;
    return known ? ProcessEnd{ProcessEnd::Kind::ExitValue, exitCode} : ProcessEnd();
}

bool HostProcess::Terminate() {
    if (state) {
        state.Get()->job.Close();  // this ends the host process
    }
    return true;
}

std::string Describe(const ProcessEnd& end) {
    if (end.kind == ProcessEnd::Kind::Unknown) {
        return "unknown";
    }
    if (end.value < 0xC0000000) {
        return "exit value " + std::to_string(static_cast<int32_t>(end.value));
    }
    const std::pair<uint32_t, const char*> reasons[] = {
        {0xC0000005, ", access violation"},
        {0xC0000017, ", there was not enough memory"},
        {0xC000001D, ", the processor lacks an instruction that the runtime used"},
        {0xC00000FD, ", stack overflow"},
        {0xC0000135, ", a DLL that it needs was not found"},
        {0xC0000139, ", a DLL that it needs has another version"},
        {0xC000013A, ", Ctrl-C"},
        {0xC0000374, ", heap corruption"},
        {0xC0000409, ", fast fail"},
    };
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned int>(end.value));
    std::string text = std::string("exit value ") + number;
    for (const auto& [value, reason] : reasons) {
        text += value == end.value ? reason : "";
    }
    return text;
}

}  // namespace Orvane::Platform
