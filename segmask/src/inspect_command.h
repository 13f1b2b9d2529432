#pragma once

#include <optional>
#include <string>

namespace segmask {

/// Prints what a plug-in library holds and what its plug-in says of itself. Returns the exit code. Throws
/// UserError.
int inspect(const std::optional<std::string>& pluginPath);

}  // namespace segmask
