#pragma once

#include <optional>
#include <string>

#include "io/StagedOutput.h"
#include "src/BatchJob.h"
#include "src/JobRecord.h"

namespace segmask {

/// Where the files of a job are until it has ended well: staged beside their final names, so that a process
/// that fails, is interrupted or is killed leaves none of them.
class JobStage {
 public:
  /// Throws UserError when there is no place for the outputs.
  JobStage(const BatchJob& job, StagedOutput::LeftBehind leftBehind);

  /// What run() returns when nothing had to be drawn.
  static constexpr int kUnchanged = 4;

  /// The body of the job's process. Returns the exit code: that of render(), or kUnchanged where the inputs
  /// are those of `recorded` by their digests. Errors are on standard error.
  int run(const SwJsonObject* recorded) const;

  /// To be called when run() has ended well in its process: gives the outputs their names, then writes the
  /// record beside them. Throws UserError.
  JobRecord commit(int exitCode, double seconds);

  /// To be called after kUnchanged: writes the record anew, with the times of the inputs as they are now.
  /// Throws UserError.
  JobRecord refresh(JobRecord record) const;

  /// A message of the process, with the files by their final names.
  std::string withFinalNames(std::string message) const;

 private:
  void writeRecord(const JobRecord& record) const;
  std::string inputsPath() const { return output_.pathOf("inputs.json"); }
  std::string summaryPath() const { return output_.pathOf("summary.json"); }

  const BatchJob& job_;
  StagedOutput output_;
  std::optional<StagedOutput> sheet_;
};

}  // namespace segmask
