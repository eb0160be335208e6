#pragma once

#include <orvane/interpreter.h>

#include "ipc/shared_channel.h"

#include <memory>

namespace Orvane {

// All that a host holds from call to call.
struct HostSession {
    SharedChannel channel;
    std::unique_ptr<Interpreter> interpreter;  // null before the first `CallInit`, new with every further one
};

// Serves calls one by one until `CallExit`. Inference failures travel back in the reply; exceptions pass, and the
// call that caused them gets no reply.
// A client must initialise before it asks for anything else, and stop after a failed initialisation: a call that
// has no interpreter or no tensor to go to ends the process.
void Serve(HostSession& session);

}  // namespace Orvane
