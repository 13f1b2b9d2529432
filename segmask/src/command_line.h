#pragma once

#include <functional>
#include <string>
#include <vector>

#include "src/commands.h"

namespace CLI {
class App;
}

namespace segmask {

/// The whole program: parses the command line, runs the command, reports its error as one line on standard
/// error. Returns the exit code; throws nothing.
int runCommandLine(int argc, char** argv);

/// Runs the body of a command. Its errors are reported on standard error as one line, "segmask: what", and
/// give the exit code that belongs to them. Throws nothing.
int runReporting(const std::function<int()>& body);

/// Lets `describe` see the definitions of the command line: all commands and options, with their texts.
void describeCommandLine(const std::function<void(const CLI::App&)>& describe);

/// An option of `segmask render` that a job may have.
struct RenderOption {
  enum class Kind { Flag, File, Json, Value };

  std::string name;  ///< without its dashes
  Kind kind;
  bool required;
};

/// All of them. Not among them are those that have one letter alone, and those that `segmask batch` decides.
std::vector<RenderOption> renderOptions();

/// The options that these arguments of `segmask render` give. Throws UserError.
RenderOptions parseRenderOptions(const std::vector<std::string>& arguments);

}  // namespace segmask
