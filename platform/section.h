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

// A named section of shared memory. What fails leaves the system's last error readable.
class Section {
 public:
    Section() = default;  // empty: no section

    // `size` zero bytes; `Commit` those that are to be used. Empty on failure. When there is a section of that name
    // already, it fails on Linux (see `RenewModuleWord`) and is that section, in the size that it has, on Windows.
    static Section Create(const std::string& name, uint32_t size);

    // Empty when there is no such section. On Linux also when it is another user's or its maker is dead; and the name
    // is gone afterwards: nobody else is to open it.
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

    Owned<State> state;
};

}  // namespace Orvane::Platform
