#pragma once

#include <string>

namespace Orvane {

// Runs a host process: opens the channel that the client's argument string names, serves it until `CallExit`, and
// closes everything. Returns the exit value of the process: 0 after `CallExit`, -1 if the channel cannot be opened or
// the system fails. Does not catch other exceptions, which end the process.
int RunHost(const std::string& arguments);

}  // namespace Orvane
