#include "src/batch/BatchReport.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "io/FileDescriptor.h"
#include "io/UserError.h"

namespace segmask {

BatchReport::BatchReport(const BatchOptions& options)
    : options_(options),
      progress_(std::make_unique<Progress>(Progress::Style::None, STDERR_FILENO, std::nullopt)) {
  if (options.results) file_.emplace(*options.results, *options.results);
}

void BatchReport::begin(uint64_t jobs) {
  const Progress::Style style = options_.noProgress ? Progress::Style::None : progressStyleFor(STDERR_FILENO);
  ended_ = 0;
  progress_ = std::make_unique<Progress>(style, STDERR_FILENO, jobs, Progress::Clock::now(), "jobs");
}

void BatchReport::add(const BatchJob& job, const JobResult& result) {
  ++counts_[result.status];
  ++ended_;
  if (result.record && result.record->exitCode == kExitDropped) anyDropped_ = true;
  writeLine(resultLine(job, result));
  if (result.error.empty()) return;
  progress_->printAbove("segmask: " +
                        oneLine(options_.list + ":" + std::to_string(job.line) + ": " + result.error));
}

void BatchReport::writeLine(const std::string& line) {
  const std::string text = line + "\n";
  if (file_) {
    file_->write(text);
  } else if (isatty(STDOUT_FILENO) != 0) {
    // It is the terminal with the bar.
    progress_->printAbove(line);
  } else {
    writeFully(STDOUT_FILENO, text.data(), text.size(), "standard output");
  }
}

int BatchReport::finish(bool interrupted, uint64_t notStarted) {
  using Status = JobResult::Status;
  progress_.reset();
  std::string text;
  const auto count = [&text](uint64_t jobs, const char* what) {
    if (jobs > 0) text += (text.empty() ? "" : ", ") + std::to_string(jobs) + what;
  };
  count(counts_[Status::Done], " done");
  count(counts_[Status::Skipped], " skipped");
  count(counts_[Status::Failed], " failed");
  count(counts_[Status::Interrupted], " interrupted");
  count(notStarted, " not started");
  std::cerr << "segmask: jobs: " + text + "\n" << std::flush;
  if (interrupted) return kExitInterrupted;
  if (counts_[Status::Failed] > 0) return kExitSomeFailed;
  return anyDropped_ ? kExitDropped : kExitDone;
}

}  // namespace segmask
