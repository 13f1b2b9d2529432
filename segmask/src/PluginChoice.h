#pragma once

#include <optional>
#include <string>

namespace segmask {

/// Which plug-in a command loads.
struct PluginChoice {
  std::optional<std::string> file;  ///< as the user named it
  bool fast = false;                ///< without a file: the one that draws a frame in one pass

  /// The path of the library to load. Throws UserError.
  std::string path() const;
};

}  // namespace segmask
