#pragma once

#include <string>

namespace Orvane {

// The whole life of a host: opens the channel that the client's argument string names, serves it until the exit
// call, and closes everything. Returns the process's exit value: 0 after the exit call, -1 when the channel could
// not be opened or the system failed. Of other exceptions none is caught: they end the process.
int RunHost(const std::string& arguments);

}  // namespace Orvane
