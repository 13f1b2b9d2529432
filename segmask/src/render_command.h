#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace segmask {

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

/// Draws a video's detections into it and prints a summary. Returns the exit code. Throws UserError; nothing
/// new stands at the outputs' names then.
int render(const RenderOptions& options);

}  // namespace segmask
