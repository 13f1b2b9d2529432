#pragma once

#include <string>

namespace segmask {

/// A line of what `segmask --version` prints: a label of 14 columns and the version of what is loaded. The
/// one that the program was built with follows if it is another.
std::string versionLine(const std::string& label, const std::string& loaded, const std::string& built);

/// What `segmask --version` prints, without the last line feed: the program, the compute device, in a build
/// for CUDA its runtime, and the libraries that decide which bytes are read and written.
std::string versionText();

}  // namespace segmask
