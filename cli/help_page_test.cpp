// The page about the command line has the program's own words: every command and option, and no others.
#include "cli/commands/commands.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <map>
#include <set>
#include <sstream>

namespace Orvane::Cli {
namespace {

// Rows of tables by the command that they are about, and of the one with the commands by "".
using Rows = std::map<std::string, std::set<std::string>>;

Rows RowsOfProgram() {
    CLI::App app;
    AddCommands(app);
    Rows rows;
    for (const CLI::App* command : app.get_subcommands({})) {
        rows[""].insert("| `" + command->get_name() + "` | " + command->get_description() + " |");
        for (const CLI::Option* option : command->get_options()) {
            const std::string type = option->get_type_name();
            if (option != command->get_help_ptr()) {
                rows[command->get_name()].insert("| `" + option->get_name() + (type.empty() ? "" : " " + type) +
                                                 "` | " + option->get_description() + " |");
            }
        }
    }
    return rows;
}

// The names between the backticks.
std::vector<std::string> Quoted(const std::string& line) {
    std::vector<std::string> names;
    std::istringstream parts(line);
    std::string part;
    for (bool isQuoted = false; std::getline(parts, part, '`'); isQuoted = !isQuoted) {
        if (isQuoted) {
            names.push_back(part);
        }
    }
    return names;
}

Rows RowsOfPage() {
    std::istringstream page(Testing::ReadBytes(ORVANE_PAGE));
    Rows rows;
    std::vector<std::string> about;  // of the table that the line is in
    for (std::string line; std::getline(page, line);) {
        if (line == "| command | does |") {
            about = {""};
        } else if (line.starts_with("| option of ")) {
            about = Quoted(line);
        } else if (!line.starts_with("|")) {
            about.clear();
        } else if (!line.starts_with("|---")) {
            for (const std::string& command : about) {
                rows[command].insert(line);
            }
        }
    }
    return rows;
}

TEST(HelpPage, SaysWhatTheProgramSays) {
    const Rows program = RowsOfProgram();
    const Rows page = RowsOfPage();
    ASSERT_GE(program.size(), 8U);
    for (const auto& [command, rows] : program) {
        EXPECT_EQ(page.contains(command) ? page.at(command) : std::set<std::string>(), rows) << command;
    }
    EXPECT_EQ(page.size(), program.size()) << "a table is about a command that there is not";
}

}  // namespace
}  // namespace Orvane::Cli
