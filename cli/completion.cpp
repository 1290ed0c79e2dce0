// qlx completion: a shell script made from the option tables themselves, so that it can't fall behind them.
// SPDX-License-Identifier: Apache-2.0
//
// A subcommand with a flag --list completes its first argument with the first column of what `qlx NAME --list` prints.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "output.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

// The words that an option takes, from the "a|b|c" of one_of (subcommand.h); empty when it takes anything. A type in
// capitals, such as NAME|N, is told to people alone.
std::string choices(const CLI::Option& option) {
  std::string words = option.get_type_name();
  if (words.find('|') == words.npos || words != lower_case(words)) return "";
  std::replace(words.begin(), words.end(), '|', ' ');
  return words;
}

std::string option_words(const CLI::App& command) {
  std::string words;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) words += (words.empty() ? "--" : " --") + name;
  return words;
}

// A case of the script: what completes a subcommand's options, or one place of its command line.
std::string one_case(const std::string& subcommand, const std::string& place, const std::string& quoted_words) {
  return "    " + subcommand + place + ") words=" + quoted_words + " ;;\n";
}

std::string in_quotes(const std::string& words) {
  return "'" + words + "'";
}

// Asked of the command when the user completes.
std::string listed_words(const std::string& subcommand) {
  return "\"$(qlx " + subcommand + " --list | tail -n +2 | cut -d, -f1)\"";
}

void print_script(const CLI::App& app, Output* out) {
  std::string names, options, arguments;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    const std::string& name = command->get_name();
    if (!names.empty()) names += ' ';
    names += name;
    options += one_case(name, "", in_quotes(option_words(*command)));
    for (const CLI::Option* option : command->get_options()) {
      const std::string words = choices(*option);
      if (words.empty()) continue;
      if (option->get_positional()) {
        arguments += one_case(name, ":2", in_quotes(words));
      } else {
        for (const std::string& long_name : option->get_lnames())
          arguments += one_case(name, ":--" + long_name, in_quotes(words));
      }
    }
    if (command->get_option_no_throw("--list") != nullptr) arguments += one_case(name, ":2", listed_words(name));
  }
  // What the cursor stands on: the subcommand, an option, the value of one, the first argument, else a file.
  *out << "# Completion of qlx for bash; in zsh, run `autoload bashcompinit; bashcompinit` before.\n"
          "_qlx() {\n"
          "  local current=\"${COMP_WORDS[COMP_CWORD]}\" before=\"${COMP_WORDS[COMP_CWORD-1]}\" words='' at='-'\n"
          "  COMPREPLY=()\n"
          "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
          "    COMPREPLY=($(compgen -W '"
       << names
       << " --help --version' -- \"$current\"))\n"
          "    return\n"
          "  fi\n"
          "  case \"$before\" in --*) at=\"$before\" ;; *) at=\"$COMP_CWORD\" ;; esac\n"
          "  case \"${COMP_WORDS[1]}:$at\" in\n"
       << arguments
       << "  esac\n"
          "  case \"$current\" in -*) case \"${COMP_WORDS[1]}\" in\n"
       << options
       << "  esac ;; esac\n"
          "  if [ -n \"$words\" ]; then\n"
          "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
          "  else\n"
          "    COMPREPLY=($(compgen -f -- \"$current\"))\n"
          "  fi\n"
          "}\n"
          "complete -o filenames -F _qlx qlx\n";
}

}  // namespace

Run attach_completion(CLI::App& command) {
  auto shell = std::make_shared<std::string>("bash");
  one_of(command.add_option("SHELL", *shell, "Shell; zsh reads bash's script through bashcompinit"), {"bash", "zsh"});
  command.footer("To have it in every shell: qlx completion > ~/.local/share/bash-completion/completions/qlx");
  return [&command, shell] {
    Output out;
    print_script(*command.get_parent(), &out);
    out.send(stdout);
    return kExitOk;
  };
}

}  // namespace qlx::cli
