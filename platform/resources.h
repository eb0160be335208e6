#pragma once

#include <cstdint>
#include <optional>

namespace Orvane::Platform {

// Memory of a process that is in RAM, as the system counts it (VmRSS and VmHWM, or the working set): with the pages
// that it shares with others. In bytes.
struct MemoryUse {
    uint64_t resident;  // now
    uint64_t peak;      // the most so far
};

// Empty when the system does not tell.
std::optional<MemoryUse> OwnMemoryUse();

// Of the child process that was started last and still lives; empty also when there is none.
std::optional<MemoryUse> ChildMemoryUse();

}  // namespace Orvane::Platform
