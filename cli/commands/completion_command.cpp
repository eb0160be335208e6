#include "cli/command.h"
#include "cli/failure.h"

#include <memory>
#include <ostream>
#include <sstream>
#include <string_view>

namespace Orvane::Cli {
namespace {

std::string Names(const Commands& commands) {
    std::ostringstream names;
    for (const Command& command : commands) {
        names << (&command == &commands.front() ? "" : " ") << command.name;
    }
    return names.str();
}

// Returns the words that can follow `argument`; empty if the table lists none.
std::string Words(const Argument& argument, const Commands& commands) {
    switch (argument.rules.offer) {
        case Offer::Commands:
            return Names(commands);
        case Offer::Shells:
            return "bash zsh fish";
        default:
            return "";
    }
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t place = 0; (place = text.find(from, place)) != std::string::npos; place += to.size()) {
        text.replace(place, from.size(), to);
    }
    return text;
}

// If there are no words, Bash completes names of files.
std::string Bash(const Commands& commands) {
    std::ostringstream script;
    script << "# Completion of orvane for bash: source <(orvane completion bash)\n"
           << "_orvane() {\n"
           << "    local words='" << Names(commands) << " --help --version' current=${COMP_WORDS[COMP_CWORD]}\n"
           << "    [ \"$COMP_CWORD\" -eq 1 ] || case ${COMP_WORDS[1]} in\n";
    for (const Command& command : commands) {
        script << "        " << command.name << ") words='";
        for (const Argument& argument : command.arguments) {
            script << (argument.IsOption() ? argument.name : Words(argument, commands)) << " ";
        }
        script << "--help' ;;\n";
    }
    script << "        *) words= ;;\n"
           << "    esac\n"
           << "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           << "}\n"
           << "complete -o default -F _orvane orvane\n";
    return script.str();
}

std::string ZshQuoted(const std::string& text) {
    return Replaced(Replaced(Replaced(Replaced(text, "'", "'\\''"), "[", "\\["), "]", "\\]"), ":", "\\:");
}

// Writes the description of an argument for zsh's function _arguments.
void WriteZshArgument(std::ostream& script, const Argument& argument, const std::string& words) {
    std::string value = " ";  // no completion
    if (!words.empty()) {
        value = "(" + words + ")";
    } else if (argument.rules.offer == Offer::Files) {
        value = "_files";
    }
    script << " \\\n            ";
    if (!argument.IsOption()) {
        script << "'::" << argument.name << ":" << value << "'";
        return;
    }
    script << (argument.IsList() ? "'*" : "'") << argument.name << "[" << ZshQuoted(argument.description) << "]";
    if (!argument.valueName.empty()) {
        script << ":" << ZshQuoted(argument.valueName) << ":" << value;
    }
    script << "'";
}

std::string Zsh(const Commands& commands) {
    std::ostringstream script;
    script << "#compdef orvane\n"
           << "# Completion of orvane for zsh: save it as _orvane in a folder of $fpath.\n"
           << "_orvane() {\n"
           << "    local -a commands=(\n";
    for (const Command& command : commands) {
        script << "        '" << command.name << ":" << ZshQuoted(command.description) << "'\n";
    }
    script << "    )\n"
           << "    if (( CURRENT == 2 )); then\n"
           << "        _describe command commands\n"
           << "        return\n"
           << "    fi\n"
           << "    shift words\n"
           << "    (( CURRENT-- ))\n"
           << "    case $words[1] in\n";
    for (const Command& command : commands) {
        script << "        " << command.name << ") _arguments";
        for (const Argument& argument : command.arguments) {
            WriteZshArgument(script, argument, Words(argument, commands));
        }
        script << " ;;\n";
    }
    script << "    esac\n"
           << "}\n"
           << "if [ \"$funcstack[1]\" = _orvane ]; then _orvane; else compdef _orvane orvane; fi\n";
    return script.str();
}

std::string FishQuoted(const std::string& text) {
    std::string quoted = "'";
    quoted += Replaced(Replaced(text, "\\", "\\\\"), "'", "\\'");
    return quoted + "'";
}

// Fish offers files without a request.
std::string Fish(const Commands& commands) {
    std::ostringstream script;
    script << "# Completion of orvane for fish: orvane completion fish | source\n"
           << "complete -c orvane -n __fish_use_subcommand -l version -d 'Show the version'\n";
    for (const Command& command : commands) {
        script << "complete -c orvane -n __fish_use_subcommand -f -a " << command.name << " -d "
               << FishQuoted(command.description) << "\n";
        for (const Argument& argument : command.arguments) {
            const std::string words = Words(argument, commands);
            if (!argument.IsOption() && words.empty()) {
                continue;
            }
            script << "complete -c orvane -n '__fish_seen_subcommand_from " << command.name << "' ";
            if (argument.IsOption()) {
                script << "-l " << argument.name.substr(2);
                if (!argument.valueName.empty()) {
                    script << (argument.rules.offer == Offer::Files ? " -r" : " -x");  // -x: no files
                }
            } else {
                script << "-f -a " << FishQuoted(words);
            }
            script << " -d " << FishQuoted(argument.description) << "\n";
        }
    }
    return script.str();
}

std::string Script(const Commands& commands, const std::string& shell) {
    if (shell == "bash") {
        return Bash(commands);
    }
    if (shell == "zsh") {
        return Zsh(commands);
    }
    if (shell == "fish") {
        return Fish(commands);
    }
    throw WrongUsage("there is no completion for \"" + shell + "\", only for bash, zsh and fish");
}

}  // namespace

Command CompletionCommand(const Commands& commands) {
    const auto shell = std::make_shared<std::string>();
    return {"completion",
            "Print a script that completes these commands in a shell",
            "source <(orvane completion bash)",
            {{"SHELL", shell.get(), "", "bash, zsh or fish", {.isRequired = true, .offer = Offer::Shells}}},
            [&commands, shell](std::ostream& out, std::ostream&) { out << Script(commands, *shell); }};
}

}  // namespace Orvane::Cli
