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

    Owned<State> state;
};

// A named section of shared memory. Functions that fail leave the system's last error readable.
class Section {
 public:
    Section() = default;  // empty: no section

    // A section of `size` zero bytes. Call `Commit` before you use them. Empty on failure. If a section of that name
    // exists, the call fails on Linux (see `RenewModuleWord`). On Windows it returns that section in its present size.
    static Section Create(const std::string& name, uint32_t size);

    // Empty if there is no such section. On Linux also empty if the section belongs to another user or its maker is
    // dead. There a successful call removes the name, so that no other process can open the section.
    static Section Open(const std::string& name);

    explicit operator bool() const { return static_cast<bool>(state); }

    // Makes sure that the first `size` bytes have memory, because a process that touches a byte without memory can end.
    // False on failure, for instance if the system has no room. Bytes that are already committed cost nothing.
    // On Linux the allocation of many megabytes takes longer than the start of a program. On Windows a section has all
    // its memory from the beginning.
    bool Commit(uint64_t size);

    // Maps the first `size` bytes, or all if `size` is 0. Empty on failure, also if the section is smaller. The view
    // keeps the memory alive after the section is closed.
    View Map(uint64_t size) const;

 private:
    struct State;

    Owned<State> state;
};

}  // namespace Orvane::Platform
