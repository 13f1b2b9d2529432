#pragma once

#include <vector>

/// What the programs share that compare the device's drawing with the host's.
namespace gpu_check {

/// The amount of work: fewer cases under a checker that slows each one down.
struct Effort {
  unsigned seed;
  bool quick;

  int of(int full) const { return quick ? full / 20 : full; }
};

/// Draws cases with the device and with the host; returns how many. Throws a std::exception that names the
/// first difference, or what else went wrong.
struct Check {
  const char* name;
  int (*body)(const Effort&);
};

/// The program's main: runs the checks as the arguments say, prints what comes of each, and returns the exit
/// code.
int checkProgram(const char* program, const std::vector<Check>& checks, int argc, char** argv);

}  // namespace gpu_check
