#include "cli/run_cli.h"

#include "cli/commands/commands.h"
#include "cli/failure.h"
#include "cli/model/load_hints.h"
#include "cli/printable.h"

#include <orvane/version.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <new>
#include <ostream>

namespace Orvane::Cli {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

void Execute(const std::vector<Command>& commands, std::ostream& out, std::ostream& err) {
    const auto chosen =
        std::find_if(commands.begin(), commands.end(), [](const Command& command) { return command.app->parsed(); });
    if (chosen == commands.end()) {
        throw WrongUsage("a command is missing");
    }
    chosen->execute(out, err);
    if (!out.flush()) {
        throw Failure("the result could not be written to the standard output");
    }
}

int ReportWrongUsage(const CLI::App& app, const std::string& message, std::ostream& err) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    err << "orvane: " << message << "\n\n" << (chosen.empty() ? app.help() : chosen.front()->help(app.get_name()));
    return kWrongUsage;
}

int ReportFailure(const std::string& message, const std::vector<std::string>& hints, std::ostream& err) {
    err << "orvane: " << PrintableLines(message) << "\n";
    for (const std::string& hint : hints) {
        err << PrintableLines(hint) << "\n";
    }
    return kFailed;
}

// As it can be typed into a shell: in the one kind of quotes that all know, or where that would not do, in a POSIX
// shell's other kind.
std::string ShellWord(const std::string& text) {
    constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:=,@%+";
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) {
        return text;
    }
    const char* quote = text.find_first_of("\"$`!") == std::string::npos ? "\"" : "'";
    return quote + text + quote;
}

// The command line that was given, with what it lacked.
std::vector<std::string> WithCompletedLine(const std::vector<std::string>& arguments, const Failure& failure) {
    std::vector<std::string> hints = failure.hints;
    if (!failure.missingArguments.empty()) {
        std::string line = "  orvane";
        for (const auto* part : {&arguments, &failure.missingArguments}) {
            for (const std::string& argument : *part) {
                line += " " + ShellWord(argument);
            }
        }
        hints.push_back(line);
    }
    return hints;
}

}  // namespace

std::vector<Command> AddCommands(CLI::App& app) {
    return {AddInfoCommand(app),    AddRunCommand(app),     AddBenchCommand(app),   AddReshapeCommand(app),
            AddDevicesCommand(app), AddEncryptCommand(app), AddDecryptCommand(app), AddHelpCommand(app)};
}

int RunCli(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    CLI::App app("Runs neural-network models from a terminal.", "orvane");
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", std::string("orvane ") + Version(), "Print the version and exit");
    app.require_subcommand(0, 1);  // `Execute` misses one; this would not name an unknown one
    const std::vector<Command> commands = AddCommands(app);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        Execute(commands, out, err);
        return 0;
    } catch (const CLI::Success& request) {  // --help and --version
        return app.exit(request, out, err);
    } catch (const CLI::ParseError& error) {
        return ReportWrongUsage(app, error.what(), err);
    } catch (const WrongUsage& error) {
        return ReportWrongUsage(app, error.what(), err);
    } catch (const Failure& failure) {
        return ReportFailure(failure.what(), WithCompletedLine(arguments, failure), err);
    } catch (const orvane::Error& error) {
        return ReportFailure(error.what(), SystemHints(error), err);
    } catch (const std::bad_alloc&) {
        return ReportFailure("there is not enough memory", {}, err);
    } catch (const std::exception& error) {
        return ReportFailure(error.what(), {}, err);
    }
}

}  // namespace Orvane::Cli
