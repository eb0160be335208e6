#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The whole program behind `main`: carries out the command that `arguments` (UTF-8, without the program's own
// name) ask for. Results go to `out`; failures, log lines and the progress bar to `err`.
// Returns the exit value: 0 for success, 1 for a failure, 2 for wrong usage. One call at a time.
int RunCli(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace Orvane::Cli
