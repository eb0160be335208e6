// The page about the command line has the program's own words: every command and option, and no others.
#include "cli/command_line.h"
#include "cli/commands/commands.h"
#include "testing/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>

namespace Orvane::Cli {
namespace {

// Rows of tables, each behind the name of the command that it is about.
using Rows = std::set<std::string>;

Rows RowsOfProgram() {
    CommandLine line;
    Rows rows;
    for (const Command& command : AllCommands(line)) {
        line.Add(command);
        const std::string help = line.Help(command.name);
        rows.insert("| `" + command.name + "` | " + command.description + " |");
        for (const Argument& argument : command.arguments) {
            const std::string call = argument.name + (argument.valueName.empty() ? "" : " ") + argument.valueName;
            EXPECT_THAT(help, ::testing::HasSubstr("\n  " + call + " "));
            EXPECT_THAT(help, ::testing::HasSubstr(argument.description));
            rows.insert(command.name + "| `" + call + "` | " + argument.description + " |");
        }
    }
    return rows;
}

Rows RowsOfPage() {
    std::istringstream page(Testing::ReadBytes(ORVANE_PAGE));
    const std::regex quoted("`([^`]+)`");
    Rows rows;
    std::vector<std::string> about;  // of the table that the line is in
    for (std::string line; std::getline(page, line);) {
        if (line == "| command | does |") {
            about = {""};
        } else if (line.starts_with("| option of ")) {
            about.assign(std::sregex_token_iterator(line.begin(), line.end(), quoted, 1), {});
        } else if (!line.starts_with("|")) {
            about.clear();
        } else if (!line.starts_with("|---")) {
            for (const std::string& command : about) {
                rows.insert(command + line);
            }
        }
    }
    return rows;
}

TEST(HelpPage, SaysWhatTheProgramSays) {
    EXPECT_THAT(RowsOfPage(), ::testing::ContainerEq(RowsOfProgram()));
}

}  // namespace
}  // namespace Orvane::Cli
