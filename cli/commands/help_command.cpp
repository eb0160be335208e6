#include "cli/commands/commands.h"

#include "cli/failure.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

namespace Orvane::Cli {

Command AddHelpCommand(CLI::App& app) {
    const auto wanted = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("help", "Show the commands, or all options of one");
    command->add_option("COMMAND", *wanted, "The command to tell of")->type_name("");
    return {command, [&app, wanted](std::ostream& out, std::ostream&) {
                if (wanted->empty()) {  // `app.help` would tell of the command that was chosen, this one
                    out << app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
                    return;
                }
                const std::vector<CLI::App*> told =
                    app.get_subcommands([&](const CLI::App* known) { return known->get_name() == *wanted; });
                if (told.empty()) {
                    throw WrongUsage("there is no command " + *wanted);
                }
                out << told.front()->help(app.get_name());
            }};
}

}  // namespace Orvane::Cli
