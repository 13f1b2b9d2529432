#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace segmask {

/// The script with which bash completes the command line: commands, options, their values where those are
/// known words, and files and folders where such are expected.
std::string bashCompletion(const CLI::App& app);

}  // namespace segmask
