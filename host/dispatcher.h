#pragma once

#include <orvane/interpreter.h>

#include "ipc/shared_channel.h"

#include <cstdint>
#include <memory>

namespace Orvane {

// What a host process keeps between calls.
struct HostSession {
    SharedChannel channel;
    std::unique_ptr<Interpreter> interpreter;  // null before the first `CallInit`; each `CallInit` makes a new one
};

// Performs the call that the channel's section requests, and writes the reply over the request. Returns the call's
// number. A reply carries the status of a failed inference; exceptions pass to the caller.
// A client must initialise before any other call, and stop after a failed initialisation. A call that finds no
// interpreter or no tensor ends the process.
uint32_t Answer(HostSession& session);

// Answers calls one by one until `CallExit`. A call that throws gets no reply; the exception passes to the caller.
void Serve(HostSession& session);

}  // namespace Orvane
