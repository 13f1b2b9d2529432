#include "src/pages/command_facts.h"

#include <sstream>

namespace segmask {

std::string fullName(const CLI::App& command) {
  std::string name = command.get_name();
  for (const CLI::App* above = command.get_parent(); above; above = above->get_parent()) {
    name.insert(0, above->get_name() + " ");
  }
  return name;
}

std::vector<const CLI::App*> subcommandsOf(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App* subcommand) { return !subcommand->get_name().empty(); });
}

void visitCommands(const CLI::App& command, const std::function<void(const CLI::App&)>& visit) {
  std::vector<const CLI::App*> waiting{&command};
  while (!waiting.empty()) {
    const CLI::App& next = *waiting.back();
    waiting.pop_back();
    visit(next);
    const std::vector<const CLI::App*> below = subcommandsOf(next);
    waiting.insert(waiting.end(), below.rbegin(), below.rend());
  }
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
