#include "platform/process.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <utility>
#ifdef _MSC_VER
#include <crtdbg.h>
#endif

namespace Orvane::Platform {

static_assert(TOKEN_ALL_ACCESS == 0x000F01FF);

struct Process::State {
    Handle process;
    Handle thread;  // the first one, until it is resumed
};

struct Job::State {
    Handle handle;
};

Token Token::OpenCurrent() {
    Token token;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &token.handle);
    return token;
}

void Token::Close() {
    CloseHandle(handle);
    handle = nullptr;
}

Process Process::CreateSuspended(const Token& token, const std::string& program, const std::string& arguments) {
    Process process;
    const std::wstring text = L"\"" + WideFromUtf8(program) + L"\" " + WideFromUtf8(arguments);
    std::array<wchar_t, 1'048> commandLine{};  // the system may write into it
    if (text.size() >= commandLine.size()) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return process;
    }
    text.copy(commandLine.data(), text.size());

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    if (CreateProcessAsUserW(token.handle, nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED,
                             nullptr, nullptr, &startup, &created) != 0) {
        process.state = std::make_shared<State>(State{Handle(created.hProcess), Handle(created.hThread)});
    }
    return process;
}

void Process::Resume() {
    ResumeThread(state->thread.get());
    state->thread.reset();
}

void Process::Abandon() {
    static_cast<void>(state->process.release());
    static_cast<void>(state->thread.release());
    state.reset();
}

bool Process::IsAlive() const {
    DWORD exitCode = 0;
    return GetExitCodeProcess(state->process.get(), &exitCode) != 0 && exitCode == STILL_ACTIVE;
}

Job Job::Create() {
    Job job;
    if (Handle handle(CreateJobObjectW(nullptr, nullptr)); handle != nullptr) {
        job.state = std::make_shared<State>(State{std::move(handle)});
    }
    return job;
}

bool Job::SetKillOnClose() {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    return SetInformationJobObject(state->handle.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits) != 0;
}

bool Job::Assign(const Process& process) {
    return AssignProcessToJobObject(state->handle.get(), process.state->process.get()) != 0;
}

QuietErrors::QuietErrors() : previousMode(SetErrorMode(SEM_FAILCRITICALERRORS)) {}

QuietErrors::~QuietErrors() {
    const DWORD error = GetLastError();
    SetErrorMode(previousMode);
    SetLastError(error);
}

// The fast-fail instruction and `RaiseFailFastException` would start the system's error reporting, which may show a
// dialogue. The exit code is theirs.
void FailFast() noexcept {
    constexpr UINT kFastFailExitCode = 0xC0000409;
    for (;;) {  // the call does not return, which the compiler cannot know
        TerminateProcess(GetCurrentProcess(), kFastFailExitCode);
    }
}

void EndSilently() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { FailFast(); });
    std::set_terminate(FailFast);
    std::signal(SIGABRT, [](int) { FailFast(); });
    _set_invalid_parameter_handler(
        [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t) { FailFast(); });
    _set_error_mode(_OUT_TO_STDERR);  // not to a message box, in which a program without a console has its messages
#ifdef _MSC_VER
    // The dialogues of the debug runtime.
    _set_abort_behavior(0, _WRITE_ABORT_MSG);
    _CrtSetReportMode(_CRT_ASSERT, 0);
    _CrtSetReportMode(_CRT_ERROR, 0);
#endif
}

std::string ProgramBeside(const std::string& name) {
    std::wstring program(MAX_PATH, L'\0');
    DWORD length = GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    while (length == program.size()) {  // cut off
        program.resize(2 * program.size());
        length = GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    }
    program.resize(length);
    return Utf8FromWide(program.substr(0, program.find_last_of(L'\\') + 1)) + name + ".exe";
}

}  // namespace Orvane::Platform
