#pragma once

namespace segmask {

/// The whole program: parses the command line, runs the command, reports its error as one line on standard
/// error. Returns the exit code; throws nothing.
int runCommandLine(int argc, char** argv);

}  // namespace segmask
