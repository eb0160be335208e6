#include "platform/terminal.h"

#include <unistd.h>

namespace Orvane::Platform {

std::vector<std::string> Utf8Arguments(int argc, const char* const* argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

void UseUtf8Console() {}

bool IsStandardErrorTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

}  // namespace Orvane::Platform
