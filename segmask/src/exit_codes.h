#pragma once

namespace segmask {

/// What the program returns. Scripts rely on these numbers.
constexpr int kExitDone = 0;
constexpr int kExitError = 2;          ///< the command line, the input, the plug-in or the output is at fault
constexpr int kExitInterrupted = 130;  ///< SIGINT or SIGTERM; what was done so far is kept

}  // namespace segmask
