#pragma once

namespace Orvane {

// True in a build with sanitizers or coverage. Their reports start programs, stop all threads from another process and
// write files, so that the sandbox leaves open exactly that.
#ifdef ORVANE_INSTRUMENTED
constexpr bool kInstrumented = true;
#else
constexpr bool kInstrumented = false;
#endif

// From now on, on all threads of this process, the kernel refuses the system calls that a host has no use for; most
// with EPERM. The process must have given up new privileges before. Without effect where the kernel has no such
// filters, or does not let this process have one.
void FilterSystemCalls();

}  // namespace Orvane
