#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace segmask {

/// A command's name as it is typed, "segmask mask encode".
std::string fullName(const CLI::App& command);

/// The commands that are named by `command` and one more word, in their order.
std::vector<const CLI::App*> subcommandsOf(const CLI::App& command);

/// Calls `visit` with the command and then with all below it, in the order of their definition.
void visitCommands(const CLI::App& command, const std::function<void(const CLI::App&)>& visit);

/// The names of an option with their dashes, short ones first; none for an operand.
std::vector<std::string> namesOf(const CLI::Option& option);

/// What an option's value is, as its type name says: "FILE..." or any name with an ending is a file's,
/// "FOLDER" a folder's, and words in small letters with bars between them are all that it can be.
struct ValueFacts {
  enum class Kind { None, File, Folder, Word, Other };

  Kind kind;
  std::vector<std::string> words;  ///< of Kind::Word
};

ValueFacts valueOf(const CLI::Option& option);

}  // namespace segmask
