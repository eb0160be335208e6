#include "platform/terminal.h"

#include "platform/win32/wide_text.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <memory>

namespace Orvane::Platform {

std::vector<std::string> Utf8Arguments(int /*argc*/, const char* const* /*argv*/) {
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count),
                                                                &LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; words != nullptr && i < count; ++i) {
        arguments.push_back(Utf8FromWide(words.get()[i]));
    }
    return arguments;
}

void UseUtf8Console() {
    SetConsoleOutputCP(CP_UTF8);
}

void UseBinaryStandardStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

bool IsStandardErrorTerminal() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

std::size_t TerminalWidth() {
    constexpr std::size_t kUsual = 80;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const bool isKnown = GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != 0;
    return isKnown ? static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1) : kUsual;
}

}  // namespace Orvane::Platform
