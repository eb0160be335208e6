#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Orvane::Platform {

// A view of a section: memory that two processes share, mapped for reading and writing.
class View {
 public:
    View() = default;  // empty: nothing is mapped
    View(View&& other) noexcept = default;
    View& operator=(View&& other) noexcept = default;  // unmaps what is held

    explicit operator bool() const { return state != nullptr; }
    uint8_t* Data() const;

 private:
    friend class Section;
    struct State;  // unmaps in its destructor and keeps the last error

    std::shared_ptr<State> state;
};

// A named section of shared memory. What fails leaves the system's last error readable.
class Section {
 public:
    Section() = default;  // empty: no section
    Section(Section&& other) noexcept = default;
    Section& operator=(Section&& other) noexcept = default;  // closes the section that is held

    // `size` zero bytes. Or the section of that name, in the size that it has, when there is one already. Empty on
    // failure. `Reserve` those that are to be used.
    static Section Create(const std::string& name, uint32_t size);

    // Empty when there is no such section. On Linux the name is gone afterwards: nobody else is to open it.
    static Section Open(const std::string& name);

    explicit operator bool() const { return state != nullptr; }

    // Makes the first `size` bytes certain to be there: a system that has no room for them fails here, and does not end
    // the process that touches them. False on failure. What was reserved before costs nothing.
    // Linux gives memory page by page, which for many megabytes takes longer than starting a program; on Windows all
    // bytes of a section are certain from the beginning.
    bool Reserve(uint64_t size);

    // The first `size` bytes, or all of them when it is 0. Empty on failure, also when the section is smaller.
    // The view keeps the memory alive when the section is closed.
    View Map(uint64_t size) const;

 private:
    struct State;  // closes in its destructor and keeps the last error

    std::shared_ptr<State> state;
};

// Removes the sections and events that clients left behind by dying before their host had opened them: those whose
// name is PREFIX_%ud_%d, with a `ModuleWord` of which no process lives. Does nothing where the system removes an
// object with its last handle.
void RemoveAbandoned(const std::string& prefix);

// A number that the names of this process's shared objects carry: the process id on Linux, where no two living
// processes share one; the low half of the program's load address on Windows.
uint32_t ModuleWord();

}  // namespace Orvane::Platform
