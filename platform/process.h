#pragma once

#include <cstdint>
#include <string>

// Operations on the program's own process.
namespace Orvane::Platform {

// Remembers the process that created it. After a fork the child has copies of everything but owns nothing.
class ProcessMark {
 public:
    ProcessMark() noexcept;
    bool IsThisProcess() const noexcept;

 private:
    int64_t process;
};

// Ends this process at once, without unwinding, exit handlers, dialogue or message.
[[noreturn]] void FailFast() noexcept;

// A host process calls this first. From now on the process ends at once and silently where it would otherwise show a
// dialogue, write a core file or report an uncaught exception. On Linux the process then also ends with its client; the
// system forgets this setting when a program starts with additional rights. On Linux this also opens each of the
// standard three descriptors that is closed, so that no other descriptor takes its number.
void BeginHost();

// The path (UTF-8) of the program `name` in the folder of the running program. `name` has no ".exe". Returns only the
// file's name if the system does not know that folder.
std::string ProgramBeside(const std::string& name);

// The same in the folder of the library or program that contains this function. If the file is not there, in the folder
// `bin` beside that folder, as in packages.
std::string ProgramBesideThisCode(const std::string& name);

// Windows: loads the library `name`, such as "x.dll", and the libraries that it needs, for the rest of the process's
// life. Searches the folder of the library or program that contains this function, then `otherFolder` (relative to that
// folder), then where the system searches. Does nothing if a library of this name is loaded already. Returns 0, or the
// system's error.
// Linux: does nothing and returns 0, because a library names the folders in which the system searches.
uint32_t LoadLibraryBesideThisCode(const std::string& name, const std::string& otherFolder);

}  // namespace Orvane::Platform
