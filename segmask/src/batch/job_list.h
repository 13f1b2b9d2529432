#pragma once

#include <string>
#include <vector>

#include "src/batch/BatchJob.h"

namespace segmask {

/// Reads a job list: JSON lines, each an object whose members are options of `segmask render` without their
/// dashes (renderOptions()). Paths are relative to the list's folder. Blank lines are passed over.
///
/// What is wrong with the list or shows without opening a video throws UserError "FILE:LINE: what": a member
/// that is unknown or of another kind, options that do not go together, an input or a folder that is missing,
/// two jobs that write one file, and a job that would replace another one's input.
std::vector<BatchJob> readJobList(const std::string& path);

}  // namespace segmask
