#pragma once

#include <string>

#include "zelvo/export.h"

namespace zelvo {

/// The function that is called when the guard bytes around a plane were overwritten. `report` is one line
/// without a line feed that names the writer, the plane, the picture's size and the first damaged byte, as an
/// offset from the plane's first sample. It runs in the thread that released the samples, and must not throw.
using GuardReport = void (*)(const std::string& report);

/// Replaces the function that is called for damaged guard bytes; null restores the default, which writes the
/// line to the standard error stream and aborts. Returns the previous one. Has no effect in builds without
/// guard bytes.
ZELVO_EXPORT GuardReport setGuardReport(GuardReport report);

/// Whether this build surrounds planes with guard bytes.
ZELVO_EXPORT bool guardBytesEnabled();

}  // namespace zelvo
