#include "cli/command_line.h"
#include "cli/commands/commands.h"
#include "cli/failure.h"
#include "cli/help.h"

#include <memory>
#include <ostream>

namespace Orvane::Cli {
namespace {

struct HelpOptions {
    std::optional<std::string> command;
    bool manual = false;
    bool json = false;
};

void ShowHelp(const Commands& commands, const HelpOptions& options, std::ostream& out) {
    if (options.manual) {
        out << ManualPage(commands);
    } else if (options.json) {
        out << TablesAsJson(commands);
    } else {
        out << (options.command ? HelpOf(FindCommand(commands, *options.command)) : Overview(commands));
    }
}

}  // namespace

Command HelpCommand(const Commands& commands) {
    const auto options = std::make_shared<HelpOptions>();
    return {"help",
            "Show the commands, or the options of one",
            "orvane help run",
            {{"COMMAND", &options->command, "", "Show the options of this command", {.offer = Offer::Commands}},
             {"--manual", &options->manual, "", "Print the manual page of all commands, for man -l -"},
             {"--json", &options->json, "", "Print the options of all commands as one JSON object"}},
            [&commands, options](std::ostream& out, std::ostream&) { ShowHelp(commands, *options, out); }};
}

Command CompletionCommand(const Commands& commands) {
    const auto shell = std::make_shared<std::string>();
    return {"completion",
            "Print a script that completes these commands in a shell",
            "source <(orvane completion bash)",
            {{"SHELL", shell.get(), "", "bash, zsh or fish", {.isRequired = true, .offer = Offer::Shells}}},
            [&commands, shell](std::ostream& out, std::ostream&) { out << CompletionScript(commands, *shell); }};
}

}  // namespace Orvane::Cli
