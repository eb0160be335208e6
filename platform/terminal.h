#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Platform {

// The program's arguments after its name, in UTF-8. On Linux they come from `main`, on Windows from the wide command
// line.
std::vector<std::string> Utf8Arguments(int argc, const char* const* argv);

// Makes a Windows console read the text of the standard streams as UTF-8.
void UseUtf8Console();

// Makes the standard input and output pass all bytes unchanged, as Linux always does.
void UseBinaryStandardStreams();

bool IsStandardErrorTerminal();

// The columns of the terminal at the standard error; 80 if there is no terminal or it does not report them.
std::size_t TerminalWidth();

}  // namespace Orvane::Platform
