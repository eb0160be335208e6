#pragma once

#include <orvane/interpreter_params.h>

namespace Orvane {

// Gives up, for the rest of this process's life, what running the model of `params` does not need; docs/security.md
// lists it. Call it before the model is loaded, on the thread that loads it.
// The process can still read all files. It can write only in the folder of the cache, and only if `params` ask for a
// new cache.
// For a device other than the CPU it gives up little, because the device's driver needs more. A later call for the CPU
// gives up the rest. After that, calls change nothing, not even what the process may write.
// Never fails and prints nothing: it leaves out what the system lacks or a container forbids. Does not preserve errno.
void EnterSandbox(const InterpreterParams& params);

// An empty name means the CPU too.
inline bool RunsOnCpu(const InterpreterParams& params) {
    return params.openvinoDevice.empty() || params.openvinoDevice == "CPU";
}

}  // namespace Orvane
