#pragma once

#include <optional>
#include <string>

#include "io/OutputFile.h"
#include "io/StagedOutput.h"

namespace segmask {

/// Whether an output of this name is a stream: "-", standard output, or a pipe that exists.
bool isStream(const std::string& target);

/// Where an output of one file goes. A file appears whole or not at all (StagedOutput); a stream gets the
/// bytes as they come, and whoever reads it sees the beginning of an output that fails later.
class OutputPlace {
 public:
  /// Throws UserError as StagedOutput does.
  explicit OutputPlace(const std::string& target);

  bool isStream() const { return !stage_; }

  /// What to open: a staged file, a pipe, or "-".
  std::string path() const { return stage_ ? stage_->path() : target_; }

  /// The file that the output is in until the commit; empty for a stream.
  std::string stagedFile() const { return stage_ ? stage_->path() : std::string(); }

  /// Opens it. A pipe is waited for until someone reads it.
  OutputFile open() const;

  /// Gives a file its name, as StagedOutput::commit.
  void commit(Existing existing = Existing::Replaced) {
    if (stage_) stage_->commit(existing);
  }

 private:
  std::string target_;
  std::optional<StagedOutput> stage_;
};

}  // namespace segmask
