#include "platform/host_process.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

#include <array>
#include <utility>

namespace Orvane::Platform {

static_assert(TOKEN_ALL_ACCESS == 0x000F01FF);

struct HostProcess::State {
    Handle job;
    Handle process;
};

namespace {

bool SetKillOnClose(const Handle& job) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    return SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) != 0;
}

// False on failure. A failed start opens no dialogue.
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
    const LastErrorKept kept;
    SetErrorMode(previousMode);
    return started != 0;
}

}  // namespace

void HostProcess::Closing::Close(Value process) noexcept {
    delete process;  // closes the process, then the job
}

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
    state = UniqueHandle<Closing>(new State{std::move(job), Handle(created.hProcess)});
    CloseHandle(created.hThread);
    CloseHandle(token);
    return std::nullopt;
}

bool HostProcess::IsAlive() const {
    DWORD exitCode = 0;
    return GetExitCodeProcess(state.Get()->process.Get(), &exitCode) != 0 && exitCode == STILL_ACTIVE;
}

void HostProcess::Close() {
    if (state) {
        state.Get()->job.Close();  // first: this is what ends the host
        state.Close();
    }
}

}  // namespace Orvane::Platform
