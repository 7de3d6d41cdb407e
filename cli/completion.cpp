// SPDX-License-Identifier: Apache-2.0
#include "completion.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <vector>

namespace cli {
namespace {

// `case` branches of a shell: the words that may follow a path of commands such as " fan get", and
// the paths themselves.
struct Branches {
    std::string words;
    std::string paths;
};

void collect(const CLI::App& app, const std::string& path, const std::string& before,
             const std::string& after, Branches* branches) {
    std::string words;
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        words += command->get_name() + " ";
        const std::string longer = path + " " + command->get_name();
        branches->paths += (branches->paths.empty() ? "\"" : " | \"") + longer + "\"";
        collect(*command, longer, before, after, branches);
    }
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty()) continue;
        for (const std::string& name : option->get_lnames()) words += "--" + name + " ";
    }
    if (!words.empty()) words.pop_back();
    branches->words += "    \"" + path + "\") " + before + words + after + " ;;\n";
}

std::string bashScript(const CLI::App& app) {
    Branches branches;
    collect(app, "", "words=\"", "\"", &branches);
    const std::string& name = app.get_name();
    return "_" + name +
           "() {\n  local at=\"\" words=\"\" i\n  for ((i = 1; i < COMP_CWORD; ++i)); do\n" +
           "    case \"$at ${COMP_WORDS[i]}\" in\n    " + branches.paths +
           ") at=\"$at ${COMP_WORDS[i]}\" ;;\n    esac\n  done\n  case \"$at\" in\n" +
           branches.words + "  esac\n" +
           "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- "
           "\"${COMP_WORDS[COMP_CWORD]}\")\n}\n" +
           "complete -o default -F _" + name + " " + name + "\n";
}

std::string zshScript(const CLI::App& app) {
    Branches branches;
    collect(app, "", "compadd -- ", "", &branches);
    return "#compdef " + app.get_name() +
           "\nlocal at=\"\" i\nfor ((i = 2; i < CURRENT; ++i)); do\n" +
           "  case \"$at ${words[i]}\" in\n  " + branches.paths +
           ") at=\"$at ${words[i]}\" ;;\n  esac\ndone\ncase \"$at\" in\n" + branches.words +
           "esac\n(( compstate[nmatches] )) || _files\n";
}

}  // namespace

void addCompletion(CLI::App& app) {
    app.add_option_function<std::string>(
           "--completion",
           [&app](const std::string& shell) {
               if (shell != "bash" && shell != "zsh") {
                   throw CLI::ValidationError("--completion", "must be bash or zsh");
               }
               throw CLI::CallForVersion(shell == "zsh" ? zshScript(app) : bashScript(app), 0);
           })
        ->group("");
}

}  // namespace cli
