#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <string>
#include <vector>

// Names of sections and events: which process uses a name, and which names are free.
namespace Orvane::Platform {

// A number in the names of this process's shared objects. On Linux it is random, and a forked child has another number.
// On Windows it is the low half of the program's load address.
uint32_t ModuleWord();

// If `error` means that a name is taken, chooses another number for `ModuleWord` and returns true. Always false on
// Windows, where two processes share an object of the same name.
bool RenewModuleWord(uint32_t error);

// On Windows only one process at a time can have such an object. So it can find free names and use them. Empty, with
// the system's last error, if another process keeps its object for more than 10 seconds. On Linux it locks nothing.
class NamesLock {
 public:
    NamesLock();

    explicit operator bool() const { return static_cast<bool>(state); }

 private:
    struct State;

    Owned<State> state;
};

// True if a section or event created under this name would belong to another process. Always false on Linux.
bool IsNameTaken(const std::string& name);

// Removes the sections and events of this user's clients that died before their host process opened them. The names are
// one of the prefixes followed by "_%ud_%d". Does nothing on Windows, which removes an object with its last handle.
void RemoveAbandoned(const std::vector<std::string>& prefixes);

}  // namespace Orvane::Platform
