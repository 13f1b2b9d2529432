#pragma once

#include <string>

#include "core/export.h"

namespace sw_diagnostics {

/// Writes `line`, which comes without its line feed, and a line feed to the standard error stream and flushes
/// it. The bytes are written unformatted and in one piece, so lines of different threads do not mix. Only if
/// there is no memory to append the line feed does it follow as a second piece.
///
/// A line that the stream does not take is lost. No exception of the stream leaves this function, whatever
/// its type and whether the host's stream buffer throws it or the stream itself (std::ios::exceptions); only
/// the unwinding of a cancelled thread goes on, for which the C++ runtime demands that no exception is being
/// handled: so it is not called from a catch block. Threads: any.
SW_CORE_EXPORT void writeLine(std::string line);

}  // namespace sw_diagnostics
