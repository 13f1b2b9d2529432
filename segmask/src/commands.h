#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace segmask {

/// What the program returns. Scripts rely on these numbers.
constexpr int kExitDone = 0;
constexpr int kExitError = 2;          ///< the command line, the input, the plug-in or the output is at fault
constexpr int kExitInterrupted = 130;  ///< SIGINT or SIGTERM; what was done so far is kept

/// The options of `segmask render`, as they stand on the command line.
struct RenderOptions {
  std::string input;
  std::optional<std::string> size;
  std::string detections;
  std::string output;
  std::optional<std::string> config;
  std::optional<std::string> plugin;
  std::optional<std::string> contactSheet;
  uint64_t lookback = 0;
  bool debug = false;
  bool noProgress = false;
};

/// Throws UserError for what can be said of `segmask render` before any file is opened: an output that cannot
/// be, one file in two roles, a configuration that a plug-in would pass over without a word.
void checkOptions(const RenderOptions& options);

/// Draws a video's detections into it and prints a summary. Returns the exit code. Throws UserError; nothing
/// new stands at the outputs' names then.
int render(const RenderOptions& options);

/// Prints what a plug-in library holds and what its plug-in says of itself. Returns the exit code. Throws
/// UserError.
int inspect(const std::optional<std::string>& pluginPath);

}  // namespace segmask
