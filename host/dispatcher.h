#pragma once

#include <orvane/interpreter.h>

#include "ipc/shared_channel.h"

#include <cstdint>
#include <memory>

namespace Orvane {

// All that a host holds from call to call.
struct HostSession {
    SharedChannel channel;
    std::unique_ptr<Interpreter> interpreter;  // null before the first `CallInit`, new with every further one
};

// Performs the call whose request stands in the channel's section and writes its reply over that. Returns the call's
// number. Inference failures travel back in the reply; exceptions pass.
// A client must initialise before it asks for anything else, and stop after a failed initialisation: a call that
// has no interpreter or no tensor to go to ends the process.
uint32_t Answer(HostSession& session);

// Answers calls one by one until `CallExit`. A call that causes an exception gets no reply.
void Serve(HostSession& session);

}  // namespace Orvane
