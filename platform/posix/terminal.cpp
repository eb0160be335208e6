#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace Orvane::Platform {

std::vector<std::string> Utf8Arguments(int argc, const char* const* argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

void UseUtf8Console() {}

void UseBinaryStandardStreams() {}

bool IsStandardErrorTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

std::size_t TerminalWidth() {
    constexpr std::size_t kUsual = 80;
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace Orvane::Platform
