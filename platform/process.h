#pragma once

#include <string>

// What a program does about its own process.
namespace Orvane::Platform {

// Ends this process at once: no unwinding, no exit handlers, no dialogue, no message.
[[noreturn]] void FailFast() noexcept;

// From now on this process ends at once and silently also where it would show a dialogue, write a core file or
// report an exception that nothing catches.
void EndSilently();

// The path in UTF-8 of the program `name`, without the system's ending for programs, in the folder of the running one.
// Only the file's name when the system does not tell that folder.
std::string ProgramBeside(const std::string& name);

}  // namespace Orvane::Platform
