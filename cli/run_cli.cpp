#include "cli/run_cli.h"

#include "cli/command_line.h"
#include "cli/commands/commands.h"
#include "cli/failure.h"
#include "cli/model/load_hints.h"
#include "cli/printable.h"

#include <new>
#include <ostream>
#include <utility>
#include <variant>

namespace Orvane::Cli {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

void Execute(CommandLine& line, const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    const auto parsed = line.Parse(arguments);
    if (const auto* text = std::get_if<std::string>(&parsed)) {
        out << *text;
    } else {
        std::get<const Command*>(parsed)->execute(out, err);
    }
    if (!out.flush()) {
        throw Failure("the result could not be written to the standard output");
    }
}

int ReportWrongUsage(const CommandLine& line, const std::string& message, std::ostream& err) {
    err << "orvane: " << message << "\n\n" << line.Usage();
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
                line.append(" ").append(ShellWord(argument));
            }
        }
        hints.push_back(line);
    }
    return hints;
}

}  // namespace

std::vector<Command> AllCommands(const CommandLine& line) {
    return {InfoCommand(),    RunCommand(),     BenchCommand(),   ReshapeCommand(),
            DevicesCommand(), EncryptCommand(), DecryptCommand(), HelpCommand(line)};
}

int RunCli(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    CommandLine line;
    for (Command& command : AllCommands(line)) {
        line.Add(std::move(command));
    }
    try {
        Execute(line, arguments, out, err);
        return 0;
    } catch (const WrongUsage& error) {
        return ReportWrongUsage(line, error.what(), err);
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
