#include "cli/command.h"

#include "cli/failure.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <type_traits>

namespace Orvane::Cli {
namespace {

// The edit distance: how many letters you must add, remove, replace or swap with their neighbour.
std::size_t Distance(const std::string& one, const std::string& other) {
    std::vector<std::vector<std::size_t>> edits(one.size() + 1, std::vector<std::size_t>(other.size() + 1));
    for (std::size_t i = 0; i <= one.size(); ++i) {
        for (std::size_t j = 0; j <= other.size(); ++j) {
            if (i == 0 || j == 0) {
                edits[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = edits[i - 1][j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
            edits[i][j] = std::min({edits[i - 1][j] + 1, edits[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
                edits[i][j] = std::min(edits[i][j], edits[i - 2][j - 2] + 1);
            }
        }
    }
    return edits.back().back();
}

// Returns "; did you mean --output?", or an empty text if no name is near.
std::string Suggestion(const std::string& word, const std::vector<std::string>& names) {
    const auto nearest = std::min_element(names.begin(), names.end(), [&](const auto& name, const auto& next) {
        return Distance(word, name) < Distance(word, next);
    });
    constexpr std::size_t kFewLetters = 2;
    const bool isNear = nearest != names.end() && Distance(word, *nearest) <= kFewLetters;
    return isNear ? "; did you mean " + *nearest + "?" : "";
}

CLI::Option* AddTo(CLI::App& app, const Argument& argument) {
    return std::visit(
        [&](auto* target) {
            if constexpr (std::is_same_v<decltype(target), bool*>) {
                return app.add_flag(argument.name, *target)->disable_flag_override();
            } else {
                return app.add_option(argument.name, *target)->type_name(argument.valueName);
            }
        },
        argument.target);
}

// Returns what is wrong with the text of a value, or an empty text.
std::string Fault(const Argument& argument, const std::string& text) {
    const ArgumentRules& rules = argument.rules;
    double number = 0;
    if (text.empty()) {
        return "the value is empty";
    }
    if (!argument.IsNumber() && !argument.Holds<std::vector<double>>()) {
        return "";
    }
    uint32_t whole = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
    if (argument.IsList()) {
        return isNumber ? "" : "give numbers, not " + text;
    }
    const bool isFit = isNumber && number >= rules.least && number <= rules.most &&
                       (!argument.IsWholeNumber() || CLI::detail::lexical_cast(text, whole));
    char wanted[128];
    std::snprintf(wanted, sizeof wanted, "give a %snumber from %.10g to %.10g, not ",
                  argument.IsWholeNumber() ? "whole " : "", rules.least, rules.most);
    return isFit ? "" : wanted + text;
}

void Apply(const ArgumentRules& rules, CLI::App& app, CLI::Option& option) {
    option.required(rules.isRequired);
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

// Throws for the words that the parser did not accept, and names the mistake.
void RefuseExtra(const Command& command, std::vector<std::string> extra) {
    extra.erase(std::remove(extra.begin(), extra.end(), "--"), extra.end());  // only arguments follow it, no options
    if (extra.empty()) {
        return;
    }
    const auto isOption = [](const std::string& word) { return word.size() > 1 && word[0] == '-'; };
    const auto unknown = std::find_if(extra.begin(), extra.end(), isOption);
    if (unknown == extra.end()) {
        throw WrongUsage("\"" + extra.front() + "\" is one argument too many");
    }
    const std::string word = unknown->substr(0, unknown->find('='));
    std::vector<std::string> options;
    for (const Argument& argument : command.arguments) {
        if (argument.IsOption()) {
            options.push_back(argument.name);
        }
    }
    throw WrongUsage("there is no option " + word + Suggestion(word, options));
}

}  // namespace

const Command& FindCommand(const Commands& commands, const std::string& name) {
    std::vector<std::string> names;
    for (const Command& command : commands) {
        if (command.name == name) {
            return command;
        }
        names.push_back(command.name);
    }
    const bool isOption = name.starts_with("-");
    throw WrongUsage(isOption ? "the first argument is a command, not " + name
                              : "there is no command \"" + name + "\"" + Suggestion(name, names));
}

void ParseArguments(const Command& command, const std::vector<std::string>& words) {
    CLI::App app;
    app.set_help_flag();
    app.allow_windows_style_options(false);
    app.allow_extras();  // `RefuseExtra` refuses them with a better text
    for (const Argument& argument : command.arguments) {
        CLI::Option& option = *AddTo(app, argument);
        if (!argument.Holds<bool>()) {
            option.check([&argument](const std::string& text) { return Fault(argument, text); }, "");
        }
        if (argument.IsList()) {
            option.allow_extra_args(argument.rules.takesSeveral);
        }
        Apply(argument.rules, app, option);
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ArgumentMismatch& error) {
        // "json was given a disallowed flag override", "--device: At Most 1 required but received 2", or "--input: 1
        // required WHICH=FILE missing"
        const std::string text = error.what();
        const std::string name = text.substr(0, text.find_first_of(": "));
        if (!name.starts_with("--")) {
            throw WrongUsage("--" + name + " takes no value");
        }
        const bool isRepeated = text.find(": At Most ") != std::string::npos;
        throw WrongUsage(name + (isRepeated ? " is given twice: give it once" : " needs a value"));
    } catch (const CLI::ParseError& error) {
        RefuseExtra(command, app.remaining());
        throw WrongUsage(error.what());
    }
    RefuseExtra(command, app.remaining());
}

}  // namespace Orvane::Cli
