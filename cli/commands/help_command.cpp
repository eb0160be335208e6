#include "cli/command_line.h"
#include "cli/commands/commands.h"

#include <memory>
#include <ostream>

namespace Orvane::Cli {

Command HelpCommand(const CommandLine& line) {
    const auto wanted = std::make_shared<std::string>();
    return {"help",
            "Show the commands, or all options of one",
            {{"COMMAND", wanted.get(), "", "The command to tell of"}},
            [&line, wanted](std::ostream& out, std::ostream&) { out << line.Help(*wanted); }};
}

}  // namespace Orvane::Cli
