#pragma once

#include <functional>
#include <iosfwd>
#include <vector>

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

// Each adds one subcommand to `app`, which owns it.
Command AddInfoCommand(CLI::App& app);
Command AddRunCommand(CLI::App& app);
Command AddBenchCommand(CLI::App& app);
Command AddReshapeCommand(CLI::App& app);
Command AddDevicesCommand(CLI::App& app);
Command AddEncryptCommand(CLI::App& app);
Command AddDecryptCommand(CLI::App& app);
Command AddHelpCommand(CLI::App& app);

// All of them.
std::vector<Command> AddCommands(CLI::App& app);

}  // namespace Orvane::Cli
