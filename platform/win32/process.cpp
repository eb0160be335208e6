#include "platform/process.h"

#include "platform/path.h"
#include "platform/win32/wide_text.h"

#include <windows.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#ifdef _MSC_VER
#include <crtdbg.h>
#endif

namespace Orvane::Platform {

namespace {

// The folder of a module's file, with "\\" at its end. Null means the running program.
std::wstring FolderOf(HMODULE module) {
    std::wstring file(MAX_PATH, L'\0');
    DWORD length = GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size()));
    while (length == file.size()) {  // the buffer was too small
        file.resize(2 * file.size());
        length = GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size()));
    }
    file.resize(length);
    return file.substr(0, file.find_last_of(L'\\') + 1);
}

// The library or program that contains this function.
HMODULE ThisModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ThisModule), &module);
    return module;
}

}  // namespace

// Windows has no fork.
ProcessMark::ProcessMark() noexcept : process(GetCurrentProcessId()) {}

bool ProcessMark::IsThisProcess() const noexcept {
    return process == int64_t{GetCurrentProcessId()};
}

// The fast-fail instruction and `RaiseFailFastException` would start the system's error reporting, which may show a
// dialogue. The exit value is the same.
void FailFast() noexcept {
    constexpr UINT kFastFailExitCode = 0xC0000409;
    for (;;) {  // the call does not return, but the compiler does not know that
        TerminateProcess(GetCurrentProcess(), kFastFailExitCode);
    }
}

void BeginHost() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { FailFast(); });
    std::set_terminate(FailFast);
    std::signal(SIGABRT, [](int) { FailFast(); });
    _set_invalid_parameter_handler(
        [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t) { FailFast(); });
    _set_error_mode(_OUT_TO_STDERR);  // a program without a console would show a message box
#ifdef _MSC_VER
    // The dialogues of the debug runtime.
    _set_abort_behavior(0, _WRITE_ABORT_MSG);
    _CrtSetReportMode(_CRT_ASSERT, 0);
    _CrtSetReportMode(_CRT_ERROR, 0);
#endif
}

std::string ProgramBeside(const std::string& name) {
    return Utf8FromWide(FolderOf(nullptr)) + name + ".exe";
}

std::string ProgramBesideThisCode(const std::string& name) {
    const std::string folder = Utf8FromWide(FolderOf(ThisModule()));
    const std::string program = name + ".exe";
    const std::string inBin = folder + "..\\bin\\" + program;
    const bool isBeside = !IsMissing(PathFromUtf8(folder + program));
    return !isBeside && !IsMissing(PathFromUtf8(inBin)) ? inBin : folder + program;
}

uint32_t LoadLibraryBesideThisCode(const std::string& name, const std::string& otherFolder) {
    const std::wstring file = WideFromUtf8(name);
    const std::filesystem::path folder = FolderOf(ThisModule());
    const std::filesystem::path inOther = (folder / PathFromUtf8(otherFolder) / file).lexically_normal();
    if (GetModuleHandleW(file.c_str()) != nullptr ||
        LoadLibraryExW((folder / file).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH) != nullptr ||
        LoadLibraryExW(inOther.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH) != nullptr ||
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS) != nullptr ||
        LoadLibraryW(file.c_str()) != nullptr) {
        return 0;
    }
    return GetLastError();
}

}  // namespace Orvane::Platform
