#pragma once

#include <cstdint>
#include <optional>
#include <string>

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

// What there is to compute with. What the system does not tell is empty, or 0.
struct Machine {
    std::string processor;  // its name
    uint32_t cores = 0;     // as many threads as it runs at once
    uint64_t memory = 0;    // in bytes
    std::string system;     // its name and version
};

Machine DescribeMachine();

// Time of all processors together, in seconds since some moment: only differences mean anything. Some systems count in
// steps of 10 ms or more.
struct ProcessorTime {
    double whole;   // of any kind
    double busy;    // spent on programs and the system
    double own;     // the part of it that was this process's, and that of the child of `ChildMemoryUse`
    double stolen;  // taken by what a virtual machine runs on; 0 where the system does not tell
};

// Empty when the system does not tell.
std::optional<ProcessorTime> ProcessorTimeSoFar();

}  // namespace Orvane::Platform
