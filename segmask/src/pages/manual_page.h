#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace segmask {

/// The page segmask(1), as source for man: of each command its description, its options and what else
/// `--help` prints, in that order. `date` is the version's, YYYY-MM-DD.
std::string manualPage(const CLI::App& app, const std::string& version, const std::string& date);

}  // namespace segmask
