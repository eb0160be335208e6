#pragma once

namespace Orvane {

// True in a build with sanitizers or coverage. Their reports start programs, stop all threads from another process and
// write files. The sandbox then allows exactly that.
#ifdef ORVANE_INSTRUMENTED
constexpr bool kInstrumented = true;
#else
constexpr bool kInstrumented = false;
#endif

// From now on the kernel refuses, on all threads of this process, the system calls that a host process does not need;
// most with EPERM. The process must have given up new privileges before. No effect if the kernel has no such filters,
// or does not let this process have one.
void FilterSystemCalls();

}  // namespace Orvane
