// The page about the command line has the program's own words: every command and option, and no others.
#include "cli/commands/commands.h"
#include "testing/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <regex>
#include <set>
#include <sstream>

namespace Orvane::Cli {
namespace {

// Rows of tables, each behind the name of the command that it is about.
using Rows = std::set<std::string>;

Rows RowsOfProgram() {
    CLI::App app;
    AddCommands(app);
    Rows rows;
    for (const CLI::App* command : app.get_subcommands({})) {
        rows.insert("| `" + command->get_name() + "` | " + command->get_description() + " |");
        for (const CLI::Option* option : command->get_options()) {
            const std::string type = option->get_type_name();
            if (option != command->get_help_ptr()) {
                rows.insert(command->get_name() + "| `" + option->get_name() + (type.empty() ? "" : " " + type) +
                            "` | " + option->get_description() + " |");
            }
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
