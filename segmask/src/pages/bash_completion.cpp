#include "src/pages/bash_completion.h"

#include "src/pages/command_facts.h"

namespace segmask {
namespace {

/// Gives COMPREPLY what completes the current word. What can stand in a place is what the function of the
/// facts prints: "words ...", "files" or "folders".
constexpr char kScript[] = R"bash(
_segmask() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=segmask i
  # "--option=value" comes as three words.
  if [ "$current" = = ]; then
    current=
  elif [ "$previous" = = ]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [ -z "$(_segmask_facts "$command ${COMP_WORDS[i]}" command)" ] || command+=" ${COMP_WORDS[i]}"
  done

  local place=operand kind words
  [[ "$previous" != -?* ]] || [ -z "$(_segmask_facts "$command" "$previous")" ] || place=$previous
  [[ "$place" != operand || "$current" != -* ]] || place=options
  read -r kind words < <(_segmask_facts "$command" "$place")
  COMPREPLY=()
  case "$kind" in
    words) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
    files) mapfile -t COMPREPLY < <(compgen -f -- "$current"); compopt -o filenames 2>/dev/null ;;
    folders) mapfile -t COMPREPLY < <(compgen -d -- "$current"); compopt -o filenames 2>/dev/null ;;
  esac
}

complete -F _segmask segmask
)bash";

std::string joined(const std::vector<std::string>& words) {
  std::string result;
  for (const std::string& word : words) result += " " + word;
  return result;
}

/// Empty where bash cannot know the value; "other", so that the option is known to take one.
std::string valueWords(const CLI::Option& option) {
  using Kind = ValueFacts::Kind;
  const ValueFacts value = valueOf(option);
  switch (value.kind) {
    case Kind::None:
      return {};
    case Kind::File:
      return "files";
    case Kind::Folder:
      return "folders";
    case Kind::Word:
      return "words" + joined(value.words);
    case Kind::Other:
      return "other";
  }
  return {};
}

std::string fact(const std::string& command, const std::string& place, const std::string& words) {
  return "    \"" + command + " " + place + "\") echo \"" + words + "\" ;;\n";
}

std::string factsOf(const CLI::App& command) {
  const std::string name = fullName(command);
  std::string text = fact(name, "command", "yes");
  std::vector<std::string> allNames;
  std::string operand;
  for (const CLI::Option* option : command.get_options()) {
    const std::vector<std::string> names = namesOf(*option);
    const std::string words = valueWords(*option);
    if (names.empty()) operand = words;
    for (const std::string& each : names) {
      allNames.push_back(each);
      if (!words.empty()) text += fact(name, each, words);
    }
  }
  std::vector<std::string> commands;
  for (const CLI::App* subcommand : subcommandsOf(command)) commands.push_back(subcommand->get_name());
  if (!commands.empty()) operand = "words" + joined(commands);
  if (!operand.empty()) text += fact(name, "operand", operand);
  return text + fact(name, "options", "words" + joined(allNames));
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
  std::string facts;
  visitCommands(app, [&facts](const CLI::App& command) { facts += factsOf(command); });
  return "# bash completion for segmask, made from the definitions of its command line.\n\n"
         "# What can stand at a place of a command.\n_segmask_facts() {\n  case \"$1 $2\" in\n" +
         facts + "  esac\n}\n" + kScript;
}

}  // namespace segmask
