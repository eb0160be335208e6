#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Platform {

// The program's arguments after its name, in UTF-8: those of `main` on Linux, those of the wide command line on
// Windows.
std::vector<std::string> Utf8Arguments(int argc, const char* const* argv);

// Makes a Windows console read the text of the standard streams as UTF-8.
void UseUtf8Console();

// Passes the bytes of the standard input and output unchanged, as Linux always does.
void UseBinaryStandardStreams();

bool IsStandardErrorTerminal();

// How many letters a line on the standard error has; 80 if that is not a terminal or does not say.
std::size_t TerminalWidth();

}  // namespace Orvane::Platform
