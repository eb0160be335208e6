#pragma once

#include <functional>
#include <iosfwd>

namespace CLI {
class App;
}

namespace Orvane::Cli {

// One subcommand: where its arguments are parsed to, and what it then does. `execute` throws `Failure` and
// `WrongUsage`.
struct Command {
    const CLI::App* app;
    std::function<void(std::ostream& out, std::ostream& err)> execute;
};

}  // namespace Orvane::Cli
