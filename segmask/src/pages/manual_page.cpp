#include "src/pages/manual_page.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <sstream>
#include <vector>

#include "src/pages/command_facts.h"

namespace segmask {
namespace {

/// The text with what roff would interpret, or set as another character, written as roff names it.
std::string escaped(const std::string& text) {
  static const std::map<char, const char*> names{{'\\', "\\e"},  {'-', "\\-"},   {'\'', "\\(aq"},
                                                 {'`', "\\(ga"}, {'^', "\\(ha"}, {'~', "\\(ti"},
                                                 {'"', "\\(dq"}};
  std::string result;
  for (const char c : text) {
    const auto name = names.find(c);
    result += name == names.end() ? std::string(1, c) : name->second;
  }
  return result;
}

std::string bold(const std::string& text) {
  return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return "\\fI" + escaped(text) + "\\fR";
}

/// A paragraph's lines, broken between words as roff fills them anyway. None begins like a request.
std::string filled(const std::string& text) {
  constexpr std::size_t kColumns = 79;
  std::string result;
  std::string line;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    word = escaped(word);
    if (!line.empty() && line.size() + 1 + word.size() > kColumns) {
      result += line + "\n";
      line.clear();
    }
    if (line.empty() && word[0] == '.') word.insert(0, "\\&");
    line += (line.empty() ? "" : " ") + word;
  }
  return result + line + "\n";
}

std::string joined(const std::vector<std::string>& parts, const std::string& between) {
  std::string result;
  for (const std::string& part : parts) result += (result.empty() ? "" : between) + part;
  return result;
}

/// The other options of a set, by name: the order in the set is that of addresses.
std::string listOf(const std::set<CLI::Option*>& options) {
  std::vector<std::string> names;
  names.reserve(options.size());
  for (const CLI::Option* option : options) names.push_back(option->get_name());
  std::sort(names.begin(), names.end());
  return joined(names, ", ");
}

/// What the parser checks and the description leaves to it.
std::string rulesOf(const CLI::Option& option) {
  std::vector<std::string> rules;
  if (option.get_required()) rules.emplace_back("It is required.");
  if (!option.get_excludes().empty())
    rules.push_back("Not together with " + listOf(option.get_excludes()) + ".");
  if (!option.get_needs().empty()) rules.push_back("Only with " + listOf(option.get_needs()) + ".");
  if (!option.get_default_str().empty()) rules.push_back("The default is " + option.get_default_str() + ".");
  return joined(rules, " ");
}

std::string entry(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : namesOf(option)) names.push_back(bold(name));
  std::string tag = joined(names, ", ");
  const bool takesValue = option.get_items_expected_max() > 0;
  if (takesValue) tag += (tag.empty() ? "" : " ") + italic(option.get_type_name());
  const std::string rules = rulesOf(option);
  // A description is a sentence without its full stop, but for one that has several.
  return ".TP\n" + tag + "\n" + filled(option.get_description() + ".") + (rules.empty() ? "" : filled(rules));
}

std::string entriesOf(const CLI::App& command) {
  std::string operands;
  std::string options;
  for (const CLI::Option* option : command.get_options()) {
    (option->get_positional() && namesOf(*option).empty() ? operands : options) += entry(*option);
  }
  return operands + options;
}

std::string synopsisOf(const CLI::App& command) {
  std::string line = bold(fullName(command)) + " [" + italic("OPTION") + "]...";
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional() && namesOf(*option).empty()) line += " " + italic(option->get_type_name());
  }
  return line;
}

/// Commands that only have commands are none to be typed.
bool isTyped(const CLI::App& command) {
  return subcommandsOf(command).empty();
}

std::string section(const char* title, const std::string& text) {
  return ".SH " + std::string(title) + "\n" + text;
}

std::string commandText(const CLI::App& command, const CLI::App& program) {
  std::string text = ".SS " + fullName(command) + "\n" + filled(command.get_description() + ".");
  if (isTyped(command)) text += ".PP\n" + synopsisOf(command) + "\n";
  text += entriesOf(command);
  if (command.get_footer() != program.get_footer()) text += ".PP\n" + filled(command.get_footer());
  return text;
}

std::string nameOf(const CLI::App& app) {
  std::string description = app.get_description();
  description[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(description[0])));
  return escaped(app.get_name()) + " \\- " + escaped(description) + "\n";
}

}  // namespace

std::string manualPage(const CLI::App& app, const std::string& version, const std::string& date) {
  std::string synopsis;
  std::string commands;
  visitCommands(app, [&](const CLI::App& command) {
    if (isTyped(command)) synopsis += (synopsis.empty() ? "" : ".br\n") + synopsisOf(command) + "\n";
    if (&command != &app) commands += commandText(command, app);
  });
  return ".TH SEGMASK 1 \"" + date + "\" \"segmask " + version + "\"\n" + section("NAME", nameOf(app)) +
         section("SYNOPSIS", synopsis) + section("DESCRIPTION", filled(app.get_description() + ".")) +
         section("OPTIONS", entriesOf(app)) + section("COMMANDS", commands) +
         section("EXIT STATUS", filled(app.get_footer())) +
         section("SEE ALSO", ".BR segmask\\-detections (5)\n");
}

}  // namespace segmask
