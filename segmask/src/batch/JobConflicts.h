#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "src/batch/BatchJob.h"
#include "video/PngPattern.h"

namespace segmask {

/// Looks for jobs of one list that are in each other's way, by whatever names and links they call a file.
class JobConflicts {
 public:
  /// Throws UserError when the job writes a file that an earlier one writes too.
  void addOutputs(const BatchJob& job);

  /// Throws UserError when the job reads a file that one of the jobs writes. To be called after all outputs
  /// have been added.
  void checkInputs(const BatchJob& job) const;

  /// The line of the job that writes that file; 0 when there is none.
  uint64_t writerOf(const std::string& path) const;

 private:
  /// The files of an image sequence, in one folder.
  struct Sequence {
    PngPattern pattern;
    uint64_t line;
  };

  void addFile(const std::string& path, uint64_t line);
  void addSequence(const std::string& path, uint64_t line);

  std::map<std::string, uint64_t> files_;                   ///< canonical path to line
  std::map<std::string, std::vector<Sequence>> sequences_;  ///< by canonical folder
};

}  // namespace segmask
