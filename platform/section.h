#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <string>

namespace Orvane::Platform {

// A view of a section: memory that two processes share, mapped for reading and writing.
class View {
 public:
    View() = default;  // empty: nothing is mapped

    explicit operator bool() const { return static_cast<bool>(state); }
    uint8_t* Data() const;

 private:
    friend class Section;
    struct State;
    struct Closing {
        using Value = State*;
        static constexpr Value kNone = nullptr;
        static void Close(Value view) noexcept;
    };

    UniqueHandle<Closing> state;
};

// A named section of shared memory. What fails leaves the system's last error readable.
class Section {
 public:
    Section() = default;  // empty: no section

    // `size` zero bytes. Or the section of that name, in the size that it has, when there is one already. Empty on
    // failure. `Commit` those that are to be used.
    static Section Create(const std::string& name, uint32_t size);

    // Empty when there is no such section. On Linux the name is gone afterwards: nobody else is to open it.
    static Section Open(const std::string& name);

    explicit operator bool() const { return static_cast<bool>(state); }

    // Makes the first `size` bytes certain to be there: a system that has no room for them fails here, and does not end
    // the process that touches them. False on failure. What was committed before costs nothing.
    // Linux gives memory page by page, which for many megabytes takes longer than starting a program; on Windows all
    // bytes of a section are certain from the beginning.
    bool Commit(uint64_t size);

    // The first `size` bytes, or all of them when it is 0. Empty on failure, also when the section is smaller.
    // The view keeps the memory alive when the section is closed.
    View Map(uint64_t size) const;

 private:
    struct State;
    struct Closing {
        using Value = State*;
        static constexpr Value kNone = nullptr;
        static void Close(Value section) noexcept;
    };

    UniqueHandle<Closing> state;
};

// Removes the sections and events that clients left behind by dying before their host had opened them: those whose
// name is PREFIX_%ud_%d, with a `ModuleWord` of which no process lives. Does nothing where the system removes an
// object with its last handle.
void RemoveAbandoned(const std::string& prefix);

// A number that the names of this process's shared objects carry: the process id on Linux, where no two living
// processes share one; the low half of the program's load address on Windows.
uint32_t ModuleWord();

}  // namespace Orvane::Platform
