#include "src/command_facts.h"

#include <sstream>

namespace segmask {

std::string fullName(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  return (parent ? fullName(*parent) + " " : "") + command.get_name();
}

std::vector<const CLI::App*> subcommandsOf(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App* subcommand) { return !subcommand->get_name().empty(); });
}

void visitCommands(const CLI::App& command, const std::function<void(const CLI::App&)>& visit) {
  visit(command);
  for (const CLI::App* subcommand : subcommandsOf(command)) visitCommands(*subcommand, visit);
}

std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

ValueFacts valueOf(const CLI::Option& option) {
  using Kind = ValueFacts::Kind;
  if (option.get_items_expected_max() == 0) return {Kind::None, {}};
  const std::string type = option.get_type_name();
  if (type.rfind("FILE", 0) == 0 || type.find('.') != std::string::npos) return {Kind::File, {}};
  if (type.rfind("FOLDER", 0) == 0) return {Kind::Folder, {}};
  const bool isWords = type.find_first_not_of("abcdefghijklmnopqrstuvwxyz-|") == std::string::npos;
  if (!isWords || type.find('|') == std::string::npos) return {Kind::Other, {}};
  ValueFacts facts{Kind::Word, {}};
  std::istringstream words(type);
  for (std::string word; std::getline(words, word, '|');) facts.words.push_back(word);
  return facts;
}

}  // namespace segmask
