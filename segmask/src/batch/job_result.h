#pragma once

#include <optional>
#include <string>
#include <vector>

#include "src/batch/BatchJob.h"
#include "src/batch/JobRecord.h"

namespace segmask {

/// What has become of a job.
struct JobResult {
  enum class Status { Done, Skipped, Failed, Interrupted };

  Status status = Status::Done;
  uint64_t attempts = 0;            ///< processes started
  double seconds = 0;               ///< of the last one; of a skipped job, of the run that its record is of
  std::optional<JobRecord> record;  ///< of a job that is done or skipped
  std::string error;                ///< of one that failed
  std::vector<std::string> warnings;
};

/// The result as one JSON object, without a line end (docs/formats.md).
std::string resultLine(const BatchJob& job, const JobResult& result);

/// How a process ended, as waitpid gives it: its exit code, or nothing when a signal ended it.
std::optional<int> exitCodeOf(int status);

/// Why a process failed: its own last message, or else how it ended.
std::string failureOf(int status, const std::string& errors);

/// Its warnings, without "segmask: warning: ".
std::vector<std::string> warningsIn(const std::string& errors);

}  // namespace segmask
