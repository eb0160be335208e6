#pragma once

#include <cstdint>
#include <string>

// What a program does about its own process.
namespace Orvane::Platform {

// Remembers the process that made it. After a fork the child has copies of everything, but owns none of it.
class ProcessMark {
 public:
    ProcessMark() noexcept;
    bool IsThisProcess() const noexcept;

 private:
    int64_t process;
};

// Ends this process at once: no unwinding, no exit handlers, no dialogue, no message.
[[noreturn]] void FailFast() noexcept;

// The first thing that a host does. From now on this process ends at once and silently also where it would show a
// dialogue, write a core file or report an exception that nothing catches. On Linux it ends with its client from here
// on, also when starting its program gave it rights that made the system forget that; and it has the standard three
// descriptors, so that no other one takes their places.
void BeginHost();

// The path in UTF-8 of the program `name`, without the system's ending for programs, in the folder of the running one.
// Only the file's name when the system does not tell that folder.
std::string ProgramBeside(const std::string& name);

// The same in the folder of the library, or the program, that this function is linked into; or, when there is none, in
// the folder `bin` beside that folder, where packages have their programs.
std::string ProgramBesideThisCode(const std::string& name);

}  // namespace Orvane::Platform
