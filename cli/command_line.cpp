#include "cli/command_line.h"

#include "cli/failure.h"

#include <orvane/version.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>
#include <list>
#include <sstream>
#include <type_traits>
#include <utility>

namespace Orvane::Cli {
namespace {

CLI::Option* AddTo(CLI::App& app, const Argument& argument) {
    return std::visit(
        [&](auto* target) {
            if constexpr (std::is_same_v<decltype(target), bool*>) {
                return app.add_flag(argument.name, *target, argument.description);
            } else {
                return app.add_option(argument.name, *target, argument.description)->type_name(argument.valueName);
            }
        },
        argument.target);
}

bool IsVector(const Argument::Target& target) {
    return std::holds_alternative<std::vector<std::string>*>(target) ||
           std::holds_alternative<std::vector<double>*>(target);
}

void Apply(const ArgumentRules& rules, CLI::App& app, CLI::Option& option) {
    option.required(rules.isRequired);
    if (rules.isAboveZero) {
        option.check(CLI::Range(1U, std::numeric_limits<uint32_t>::max()).description(""));
    }
    if (rules.separator != '\0') {
        option.delimiter(rules.separator);
    }
    if (rules.excludes != nullptr) {
        option.excludes(app.get_option(rules.excludes));
    }
    if (rules.needs != nullptr) {
        option.needs(app.get_option(rules.needs));
    }
}

}  // namespace

struct CommandLine::State {
    CLI::App app = CLI::App("Runs neural-network models from a terminal.", "orvane");
    std::list<std::pair<const Command, const CLI::App*>> commands;
};

CommandLine::CommandLine() : state(std::make_unique<State>()) {
    state->app.allow_windows_style_options(false);
    state->app.set_version_flag("--version", std::string("orvane ") + Version(), "Print the version and exit");
    state->app.require_subcommand(0, 1);  // `Parse` misses one; this would not name an unknown one
}

CommandLine::~CommandLine() = default;

void CommandLine::Add(Command command) {
    CLI::App& app = *state->app.add_subcommand(command.name, command.description);
    for (const Argument& argument : command.arguments) {
        CLI::Option& option = *AddTo(app, argument);
        if (IsVector(argument.target)) {
            option.allow_extra_args(argument.rules.takesSeveral);
        }
        Apply(argument.rules, app, option);
    }
    state->commands.emplace_back(std::move(command), &app);
}

std::variant<const Command*, std::string> CommandLine::Parse(const std::vector<std::string>& arguments) {
    try {
        state->app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::Success& request) {  // --help and --version
        std::ostringstream text;
        state->app.exit(request, text, text);
        return text.str();
    } catch (const CLI::ParseError& error) {
        throw WrongUsage(error.what());
    }
    const auto chosen = std::find_if(state->commands.begin(), state->commands.end(),
                                     [](const auto& command) { return command.second->parsed(); });
    if (chosen == state->commands.end()) {
        throw WrongUsage("a command is missing");
    }
    return &chosen->first;
}

std::string CommandLine::Usage() const {
    const std::vector<CLI::App*> chosen = state->app.get_subcommands();
    return chosen.empty() ? state->app.help() : chosen.front()->help(state->app.get_name());
}

std::string CommandLine::Help(const std::string& command) const {
    const CLI::App& app = state->app;
    if (command.empty()) {  // `app.help` would tell of the command that was chosen
        return app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
    }
    for (const auto& [known, itsApp] : state->commands) {
        if (known.name == command) {
            return itsApp->help(app.get_name());
        }
    }
    throw WrongUsage("there is no command " + command);
}

}  // namespace Orvane::Cli
