#pragma once

#include <string>

/// Writes `line` and a line feed to the standard error stream, in one piece so that lines of different
/// threads do not mix, and flushes it.
void writeDiagnostic(std::string line);
