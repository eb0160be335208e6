#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The whole program except `main`. Runs the command line `arguments`, in UTF-8, without the name of the program. Writes
// results to `out`, and failures, log lines and the progress bar to `err`. Returns the exit value: 0 for success, 1 for
// a failure, 2 for wrong usage. Only one call may run at a time.
int RunCli(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace Orvane::Cli
