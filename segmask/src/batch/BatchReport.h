#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "io/OutputFile.h"
#include "src/batch/BatchJob.h"
#include "src/batch/job_result.h"
#include "src/commands.h"
#include "src/render/Progress.h"

namespace segmask {

/// Tells what becomes of the jobs of a batch: a line of result for each, progress and failures on standard
/// error, the totals and the exit code at the end. One thread at a time.
class BatchReport {
 public:
  /// Throws UserError when the file of results cannot be written.
  explicit BatchReport(const BatchOptions& options);

  /// The jobs of which one knows already have been reported; from here on progress is shown, of that many.
  void begin(uint64_t jobs);

  /// Shows how far it is, now and then.
  void update() { progress_->update(ended_); }

  /// Throws UserError when the result cannot be written.
  void add(const BatchJob& job, const JobResult& result);

  /// Ends the progress and tells the totals. Returns the exit code.
  int finish(bool interrupted, uint64_t notStarted);

 private:
  void writeLine(const std::string& line);

  const BatchOptions& options_;
  std::optional<OutputFile> file_;  ///< where the results go, instead of standard output
  std::map<JobResult::Status, uint64_t> counts_;
  bool anyDropped_ = false;
  uint64_t ended_ = 0;  ///< jobs, since begin()
  std::unique_ptr<Progress> progress_;
};

}  // namespace segmask
