#include "cli/command.h"

#include "cli/report/print.h"

#include <orvane/orvane.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <sstream>
#include <string_view>

namespace Orvane::Cli {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kColumn = 24;  // the column of descriptions

// Writes `name`, and beside it `text` in a column, with line breaks between words.
void WriteEntry(std::ostream& out, const std::string& name, const std::string& text, std::size_t column) {
    const std::size_t end = 2 + name.size();
    out << "  " << name;
    if (end + 2 > column) {
        out << "\n" << std::string(column, ' ');
    } else {
        out << std::string(column - end, ' ');
    }
    std::size_t width = column;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (width > column && width + 1 + word.size() > kWidth) {
            out << "\n" << std::string(column, ' ');
            width = column;
        }
        out << (width > column ? " " : "") << word;
        width += word.size() + (width > column ? 1 : 0);
    }
    out << "\n";
}

// In a manual page, a "." or "'" at the start of a line and every "\" and "-" have a special meaning.
std::string Escaped(const std::string& text) {
    std::ostringstream escaped;
    escaped << (text.starts_with(".") || text.starts_with("'") ? "\\&" : "");
    for (const char letter : text) {
        escaped << (letter == '\\' ? "\\e" : letter == '-' ? "\\-" : std::string_view(&letter, 1));
    }
    return escaped.str();
}

std::string Synopsis(const Command& command) {
    std::ostringstream line;
    line << "orvane " << command.name;
    if (std::any_of(command.arguments.begin(), command.arguments.end(), std::mem_fn(&Argument::IsOption))) {
        line << " [OPTION ...]";
    }
    for (const Argument& argument : command.arguments) {
        if (!argument.IsOption()) {
            line << (argument.rules.isRequired ? " " + argument.name : " [" + argument.name + "]");
        }
    }
    return line.str();
}

constexpr const char* kAboutDash = "Where an argument names a file, - is the standard input or output.";

// Lines have at most 80 letters, as in `HelpOf`.
std::string Overview(const Commands& commands) {
    constexpr std::size_t kNames = 14;
    std::ostringstream text;
    text << "usage: orvane COMMAND [ARGUMENT ...]\n\nRuns neural-network models from a terminal.\n\n";
    for (const Command& command : commands) {
        WriteEntry(text, command.name, command.description, kNames);
    }
    text << "\norvane help COMMAND shows the options of one; orvane --version the version.\n" << kAboutDash << "\n";
    return text.str();
}

std::string HelpOf(const Command& command) {
    std::ostringstream text;
    text << command.description << ".\n\nusage: " << Synopsis(command) << "\n\n";
    for (const Argument& argument : command.arguments) {
        WriteEntry(text, argument.Call(), argument.description, kColumn);
    }
    text << "\nexample: " << command.example << "\n";
    return text.str();
}

// For the reference page.
std::string TablesAsJson(const Commands& commands) {
    Json tables = Json::object();
    for (const Command& command : commands) {
        Json rows = Json::array();
        for (const Argument& argument : command.arguments) {
            rows.push_back({{"call", argument.Call()}, {"description", argument.description}});
        }
        tables[command.name] = {
            {"description", command.description}, {"example", command.example}, {"arguments", rows}};
    }
    std::ostringstream text;
    PrintJson(text, tables);
    return text.str();
}

// Returns a manual page in the format of man(7).
std::string ManualPage(const Commands& commands) {
    std::ostringstream page;
    page << ".TH ORVANE 1 \"\" \"orvane " << orvane_version() << "\"\n"
         << ".SH NAME\norvane \\- run neural\\-network models from a terminal\n"
         << ".SH SYNOPSIS\n.B orvane\n.I COMMAND\n[ARGUMENT ...]\n"
         << ".SH DESCRIPTION\n"
         << Escaped(kAboutDash) << "\n.SH COMMANDS\n";
    for (const Command& command : commands) {
        page << ".SS " << Escaped(Synopsis(command)) << "\n" << Escaped(command.description) << ".\n";
        for (const Argument& argument : command.arguments) {
            page << ".TP\n.B " << Escaped(argument.Call()) << "\n" << Escaped(argument.description) << "\n";
        }
        page << ".PP\nExample:\n.PP\n.RS\n.B " << Escaped(command.example) << "\n.RE\n";
    }
    page << ".SH EXIT STATUS\n0 for success, 1 for a failure, 2 for a wrong command line.\n";
    return page.str();
}

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

}  // namespace Orvane::Cli
