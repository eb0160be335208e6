#include "cli/run_cli.h"

#include "cli/command.h"
#include "cli/failure.h"
#include "cli/model/load_hints.h"
#include "cli/printable.h"

#include <algorithm>
#include <new>
#include <ostream>

namespace Orvane::Cli {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

Commands AllCommands(const Commands& all) {
    return {InfoCommand(),    RunCommand(),     BenchCommand(),   ReshapeCommand(),      DevicesCommand(),
            EncryptCommand(), DecryptCommand(), HelpCommand(all), CompletionCommand(all)};
}

bool IsHelpFlag(const std::string& word) {
    return word == "--help" || word == "-h";
}

// "orvane --help" is "orvane help", and "orvane run --help" is "orvane help run".
std::vector<std::string> WithHelpCommand(const std::vector<std::string>& arguments) {
    if (std::none_of(arguments.begin(), arguments.end(), IsHelpFlag)) {
        return arguments;
    }
    return IsHelpFlag(arguments[0]) ? std::vector<std::string>{"help"} : std::vector{std::string("help"), arguments[0]};
}

void Execute(const Commands& commands, const std::vector<std::string>& arguments, std::ostream& out,
             std::ostream& err) {
    if (arguments.empty()) {
        throw WrongUsage("a command is missing");
    }
    if (arguments[0] == "--version") {
        out << "orvane " << orvane_version() << "\n";
    } else {
        const std::vector<std::string> words = WithHelpCommand(arguments);
        const Command& command = FindCommand(commands, words[0]);
        ParseArguments(command, {words.begin() + 1, words.end()});
        command.execute(out, err);
    }
    if (!out.flush()) {
        throw Failure("the result could not be written to the standard output");
    }
}

int ReportWrongUsage(const Commands& commands, const std::vector<std::string>& arguments, const std::string& message,
                     std::ostream& err) {
    const bool isKnown = std::any_of(commands.begin(), commands.end(), [&](const Command& command) {
        return !arguments.empty() && command.name == arguments.front();
    });
    err << "orvane: " << PrintableLines(message) << "\nTry: orvane " << (isKnown ? arguments.front() + " " : "")
        << "--help\n";
    return kWrongUsage;
}

int ReportFailure(const std::string& message, const std::vector<std::string>& hints, std::ostream& err) {
    err << "orvane: " << PrintableLines(message) << "\n";
    for (const std::string& hint : hints) {
        err << PrintableLines(hint) << "\n";
    }
    return kFailed;
}

// Quotes the text for a shell: with double quotes, which all shells know, or if these do not protect the text, with the
// single quotes of POSIX shells.
std::string ShellWord(const std::string& text) {
    constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:=,@%+";
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) {
        return text;
    }
    const char* quote = text.find_first_of("\"$`!") == std::string::npos ? "\"" : "'";
    return quote + text + quote;
}

// The hints of the failure, with the user's command line and the missing arguments at the end.
std::vector<std::string> WithCompletedLine(const std::vector<std::string>& arguments, const Failure& failure) {
    std::vector<std::string> hints = failure.hints;
    if (!failure.missingArguments.empty()) {
        std::string line = "  orvane";
        for (const auto* part : {&arguments, &failure.missingArguments}) {
            for (const std::string& argument : *part) {
                line.append(" ").append(ShellWord(argument));
            }
        }
        hints.push_back(line);
    }
    return hints;
}

}  // namespace

int RunCli(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    Commands commands;
    commands = AllCommands(commands);
    try {
        Execute(commands, arguments, out, err);
        return 0;
    } catch (const WrongUsage& error) {
        return ReportWrongUsage(commands, arguments, error.what(), err);
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
