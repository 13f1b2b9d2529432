#pragma once

#include <string>

#include "io/FileDescriptor.h"

namespace segmask {

/// What becomes of a file that has the name of an output.
enum class Existing { Replaced, Kept };

/// Output that appears whole or not at all. Files are written into a hidden folder beside their target
/// (".segmask-XXXXXX") and moved to their final names by commit(). Without a commit this object's destructor
/// deletes the folder with its files, and an existing target is untouched.
///
/// Only a process that is killed leaves the folder behind. The next object for the same place removes it when
/// nothing has been written there for an hour: a living process keeps its own locked, however old it gets.
class StagedOutput {
 public:
  /// Whether to look for what killed processes have left in the folder. That reads the whole folder, which is
  /// too much for each of many outputs.
  enum class LeftBehind { Remove, Leave };

  /// `target` is the output's path as the user gave it; a link is followed. For a sequence it is any path in
  /// the same folder. Throws UserError when the folder is missing or cannot be written, or the target exists
  /// and is no regular file.
  explicit StagedOutput(const std::string& target, LeftBehind leftBehind = LeftBehind::Remove);
  ~StagedOutput();
  StagedOutput(const StagedOutput&) = delete;
  StagedOutput& operator=(const StagedOutput&) = delete;

  /// Where the file with this final name is written until the commit.
  std::string pathOf(const std::string& fileName) const { return stage_ + "/" + fileName; }

  /// Where the target itself is written until the commit.
  std::string path() const { return pathOf(fileName_); }

  /// Moves everything that was written to its final name. Throws UserError: FileExists, where a file is there
  /// that is to be kept; files that were moved before it stay.
  void commit(Existing existing = Existing::Replaced);

 private:
  void moveIntoPlace(const std::string& fileName, Existing existing) const;

  std::string folder_;
  std::string fileName_;
  std::string stage_;
  FileDescriptor held_;  ///< the folder, locked
};

}  // namespace segmask
