#pragma once

#include <string>
#include <vector>

namespace Orvane::Platform {

// The program's arguments after its own name, in UTF-8; `main`'s own on Linux, the wide command line's on
// Windows.
std::vector<std::string> Utf8Arguments(int argc, const char* const* argv);

// Text written to the standard streams is UTF-8; a Windows console has to be told.
void UseUtf8Console();

bool IsStandardErrorTerminal();

}  // namespace Orvane::Platform
