#include "platform/terminal.h"

#include "platform/path.h"

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
        const wchar_t* word = words.get()[i];
        const int length = WideCharToMultiByte(CP_UTF8, 0, word, -1, nullptr, 0, nullptr, nullptr);
        std::string text(static_cast<size_t>(length), '\0');
        WideCharToMultiByte(CP_UTF8, 0, word, -1, text.data(), length, nullptr, nullptr);
        text.pop_back();  // the terminating zero
        arguments.push_back(std::move(text));
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
