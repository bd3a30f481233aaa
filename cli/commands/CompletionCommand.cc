#include <memory>
#include <string>

#include <fmt/format.h>

#include "cli/CliError.h"
#include "cli/Command.h"

namespace tessera {
namespace {

// The words that may follow `command`: its own commands and its switches.
std::string wordsAfter(const CLI::App& command) {
  std::string words;
  const auto add = [&words](const std::string& word) {
    words += (words.empty() ? "" : " ") + word;
  };
  for (const auto* sub : command.get_subcommands([](const CLI::App*) { return true; })) {
    add(sub->get_name());
  }
  for (const auto* option : command.get_options()) {
    for (const auto& name : option->get_snames()) add("-" + name);
    for (const auto& name : option->get_lnames()) add("--" + name);
  }
  return words;
}

bool takesPath(const CLI::App& command) {
  return command.get_option_no_throw("PATH") != nullptr;
}

void addCases(const CLI::App& command, const std::string& words, std::string& cases) {
  for (const auto* sub : command.get_subcommands([](const CLI::App*) { return true; })) {
    const std::string name = words.empty() ? sub->get_name() : words + " " + sub->get_name();
    cases += fmt::format("    \"{}\") words=\"{}\"{} ;;\n", name, wordsAfter(*sub),
                         takesPath(*sub) ? "; paths=tree" : "");
    addCases(*sub, name, cases);
  }
}

// Made from the commands themselves, so that it cannot fall behind them.
std::string bashScript(const CLI::App& app) {
  std::string cases = fmt::format("    \"\") words=\"{}\" ;;\n", wordsAfter(app));
  addCases(app, "", cases);
  return R"(# bash completion for tessera; use it with: source <(tessera completion bash)
_tessera() {
  local current=${COMP_WORDS[COMP_CWORD]} command="" words="" paths="" word i
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    case "$word" in
      -*) ;;
      *)
        case "$command $word" in
          " "* | " cloud "* | "cloud "* | "cloud container "*) command="${command:+$command }$word" ;;
        esac ;;
    esac
  done
  case "$command" in
)" + cases +
         R"(    *) words="" ;;
  esac
  COMPREPLY=()
  local reply
  while IFS= read -r reply; do
    [ -n "$reply" ] && COMPREPLY+=("$reply")
  done < <(compgen -W "$words" -- "$current")
  if [ "$paths" = tree ] && [[ $current != -* ]]; then
    # Names below the folder that was typed so far, through the extension.
    local folder=${current%/*} name
    [ "$folder" = "$current" ] && folder=/
    while IFS= read -r name; do
      name=${folder%/}/$name
      [ "${current#/}" = "$current" ] && name=${name#/}
      [[ $name == "$current"* ]] && COMPREPLY+=("$name")
    done < <(tessera ls "${folder:-/}" 2>/dev/null | head -n 1000)
    compopt -o nospace -o filenames 2>/dev/null
  fi
}
complete -F _tessera tessera
)";
}

}  // namespace

void addCompletionCommand(CLI::App& app, CommandContext&) {
  auto shell = std::make_shared<std::string>();
  auto* command = app.add_subcommand("completion", "Print a completion script for a shell");
  command->add_option("SHELL", *shell, "bash")->required()->check(CLI::IsMember({"bash"}));
  command->footer("\nExample:\n  source <(tessera completion bash)");
  command->callback([&app] { printLine(bashScript(app)); });
}

}  // namespace tessera
