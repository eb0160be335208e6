// kill_host PROGRAM ARGUMENT...: runs the example, shows all that it prints, and ends its host process in the middle of
// work. Exits as the example does, and with 124 when that takes longer than two minutes.
#include <windows.h>

#include <tlhelp32.h>

#include <cwchar>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

constexpr DWORD kTimeLimit = 120'000;
constexpr UINT kTimeLimitExitCode = 124;

// What stands behind this program's own name, which may be in quotes.
std::wstring RestOfCommandLine() {
    const wchar_t* text = GetCommandLineW();
    const bool quoted = *text == L'"';
    text += quoted ? 1 + std::wcscspn(text + 1, L"\"") : std::wcscspn(text, L" \t");
    text += quoted && *text != L'\0' ? 1 : 0;
    return text + std::wcsspn(text, L" \t");
}

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error(what + ", error " + std::to_string(GetLastError()));
}

struct Program {
    PROCESS_INFORMATION process{};
    HANDLE output = nullptr;  // the end from which to read what it prints
};

Program Start(std::wstring commandLine) {
    Program program;
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE output = nullptr;
    if (CreatePipe(&program.output, &output, &inheritable, 0) == 0 ||
        SetHandleInformation(program.output, HANDLE_FLAG_INHERIT, 0) == 0) {
        Fail("cannot make a pipe");
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = output;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &program.process) == 0) {
        Fail("cannot start the program");
    }
    CloseHandle(output);
    return program;
}

DWORD ChildOf(DWORD parent) {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    BOOL found = Process32FirstW(snapshot, &entry);
    while (found != 0 && entry.th32ParentProcessID != parent) {
        found = Process32NextW(snapshot, &entry);
    }
    CloseHandle(snapshot);
    if (found == 0) {
        throw std::runtime_error("the program has no child process");
    }
    return entry.th32ProcessID;
}

void EndProcess(DWORD id) {
    HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, id);
    if (process == nullptr || TerminateProcess(process, 1) == 0) {
        Fail("cannot end process " + std::to_string(id));
    }
    CloseHandle(process);
}

void Show(const std::string& text) {
    DWORD count = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
}

// Shows each line that the program prints, and ends its host after the one that says that it is running.
void Relay(const Program& program) {
    std::string line;
    char byte = 0;
    DWORD count = 0;
    while (ReadFile(program.output, &byte, 1, &count, nullptr) != 0 && count == 1) {
        line += byte;
        if (byte != '\n') {
            continue;
        }
        Show(line);
        if (line.compare(0, 7, "Running") == 0) {
            Sleep(500);
            const DWORD host = ChildOf(program.process.dwProcessId);
            Show("+ end process " + std::to_string(host) + "\r\n");
            EndProcess(host);
        }
        line.clear();
    }
    Show(line);
}

int Run(const std::wstring& commandLine) {
    const Program program = Start(commandLine);
    HANDLE process = program.process.hProcess;
    std::thread timeLimit([&process] {
        if (WaitForSingleObject(process, kTimeLimit) == WAIT_TIMEOUT) {
            TerminateProcess(process, kTimeLimitExitCode);
        }
    });
    try {
        Relay(program);
    } catch (const std::exception& error) {
        std::cerr << "kill_host: " << error.what() << "\n";
        TerminateProcess(process, 1);
    }
    timeLimit.join();
    DWORD exitCode = 1;
    GetExitCodeProcess(process, &exitCode);
    return static_cast<int>(exitCode);
}

}  // namespace

int main() {
    SetConsoleOutputCP(CP_UTF8);
    const std::wstring commandLine = RestOfCommandLine();
    if (commandLine.empty()) {
        std::cerr << "usage: kill_host PROGRAM ARGUMENT...\n"
                     "Runs PROGRAM and ends its child process when it prints a line that begins with Running.\n";
        return 2;
    }
    try {
        return Run(commandLine);
    } catch (const std::exception& error) {
        std::cerr << "kill_host: " << error.what() << "\n";
        return 1;
    }
}
