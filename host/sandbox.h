#pragma once

#include <orvane/interpreter_params.h>

namespace Orvane {

// Gives up, for the rest of this process's life and on all its threads, what running the model of `params` does not
// need; docs/security.md says what that is. Call it before the model is loaded, on the thread that loads it.
// Model files, libraries and everything else can be read as before. Files can be written only in the folder of the
// cache, and only when `params` say that a cache is to be made.
// For a device other than the CPU little is given up: its driver is the system's and does what it likes. A later call
// for the CPU then gives up the rest; after that no call changes anything, also not what may be written.
// Never fails and says nothing: what the system does not have, or a container forbids, is left out. Keeps no error.
void EnterSandbox(const InterpreterParams& params);

// An empty name means the CPU too.
inline bool RunsOnCpu(const InterpreterParams& params) {
    return params.openvinoDevice.empty() || params.openvinoDevice == "CPU";
}

}  // namespace Orvane
