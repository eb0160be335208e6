#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <string>
#include <vector>

// The names of sections and events: whose they are, and whether they are free.
namespace Orvane::Platform {

// A number that the names of this process's shared objects carry. On Linux it is random, and a forked child has another
// one. On Windows it is the low half of the program's load address.
uint32_t ModuleWord();

// If this system error says that a name is taken, takes another number for `ModuleWord` and returns true. Always false
// on Windows, where two processes share an object whose name is taken.
bool RenewModuleWord(uint32_t error);

// While this object exists, no other process with one forms names of shared objects, so that this one can find free
// names and take them. Empty, with the system's last error, if another process keeps its own for more than 10 seconds.
// On Linux there is nothing to hold.
class NamesHeld {
 public:
    NamesHeld();

    explicit operator bool() const { return static_cast<bool>(state); }

 private:
    struct State;

    Owned<State> state;
};

// Whether a section or an event that is created under this name would be another process's. Never on Linux.
bool IsNameTaken(const std::string& name);

// Removes the sections and events of this user's clients that died before their host opened them: those whose name is
// one of the prefixes followed by "_%ud_%d". Does nothing on Windows, which removes an object with its last handle.
void RemoveAbandoned(const std::vector<std::string>& prefixes);

}  // namespace Orvane::Platform
