#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Orvane::Platform {

// Bytes of a process that are in RAM, as the system counts them (VmRSS and VmHWM, or the working set). Pages shared
// with other processes count.
struct MemoryUse {
    uint64_t resident;  // now
    uint64_t peak;      // the maximum so far
};

// Empty if the system does not provide it.
std::optional<MemoryUse> OwnMemoryUse();

// The memory of the child process that started last and still runs. Empty without such a child.
std::optional<MemoryUse> ChildMemoryUse();

// The machine. A value that the system does not provide is empty or 0.
struct Machine {
    std::string processor;  // its name
    uint32_t cores = 0;     // threads that it runs at once
    uint64_t memory = 0;    // in bytes
    std::string system;     // its name and version
};

Machine DescribeMachine();

// Time of all processors together, in seconds. Only differences mean anything. Some systems count in steps of 10 ms or
// more.
struct ProcessorTime {
    double whole;   // all time
    double busy;    // time of programs and the system
    double own;     // busy time of this process and of the child of `ChildMemoryUse`
    double stolen;  // time that the host of a virtual machine took; 0 if unknown
};

// Empty if the system does not provide it.
std::optional<ProcessorTime> ProcessorTimeSoFar();

}  // namespace Orvane::Platform
