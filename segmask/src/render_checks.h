#pragma once

#include "src/render_command.h"

namespace segmask {

/// Throws UserError for what can be said before any file is opened: an output that cannot be, one file in two
/// roles, a configuration that a plug-in would pass over without a word.
void checkOptions(const RenderOptions& options);

}  // namespace segmask
