#include "platform/terminal.h"

#include "platform/win32/wide_text.h"

#include <windows.h>

#include <shellapi.h>

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

bool IsStandardErrorTerminal() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

}  // namespace Orvane::Platform
