#pragma once

#include <optional>
#include <string>

namespace segmask {

/// Which plug-in a host loads.
struct PluginChoice {
  std::optional<std::string> file;  ///< as the user named it
  bool fast = false;                ///< without a file: the one that draws a frame in one pass

  /// The path of the library to load. Throws UserError.
  std::string path() const;

  /// The same, for hosts of which several may be in one process, and decides for the process: of the two
  /// files that the plug-in comes as it uses the one that this function gave first. Throws UserError, which
  /// names both, for the other one and for another copy. A file that is not there decides nothing, and
  /// neither does one of another name. Any thread may call it.
  std::string pathInProcess() const;
};

}  // namespace segmask
