#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"
#include "src/batch/BatchJob.h"
#include "src/batch/BatchReport.h"
#include "src/batch/JobStage.h"
#include "src/batch/ProcessPool.h"

namespace segmask {

/// Runs the jobs of a list, each in a process of its own, but those that are done. A long video may become
/// pieces, each in a process of its own, and one more process that joins them. What a process does that was
/// killed or crashed goes to the end of the queue, a set number of times.
class BatchRun {
 public:
  /// The jobs must outlive it. `lock` is what holds the list; the processes give it up.
  BatchRun(const BatchOptions& options, const std::vector<BatchJob>& jobs, FileDescriptor lock);

  /// Returns the exit code. SIGINT or SIGTERM lets the processes end, a second one kills them. Throws
  /// UserError when the results cannot be written or no process can be started.
  int run();

 private:
  /// A job that is to be run.
  struct Run {
    const BatchJob* job;
    std::optional<JobRecord> touched;  ///< its record, when only times of its inputs have changed
    uint64_t processes = 0;            ///< that were started
    std::chrono::steady_clock::time_point start;
    std::unique_ptr<JobStage> stage;  ///< once it has started
    std::size_t piecesLeft = 0;       ///< that are not drawn yet
    bool useIndex = true;
    bool isOver = false;  ///< what becomes of its processes does not matter any more
  };

  enum class Step { Whole, Piece, Join };

  /// What one process does.
  struct Task {
    std::shared_ptr<Run> run;
    Step step = Step::Whole;
    std::size_t piece = 0;
    uint64_t attempts = 0;
  };

  void plan(const BatchJob& job);
  void start(ProcessPool& pool);
  bool makeStage(Run& run);
  int work(const Task& task) const;
  void finish(const ProcessPool::Ended& ended, const ProcessPool& pool);
  void split(const std::shared_ptr<Run>& run);
  void finishPiece(const std::shared_ptr<Run>& run);
  void startOver(const std::shared_ptr<Run>& run);
  static JobResult endWell(const Task& task, int code, JobResult result);
  void end(Run& run, const JobResult& result);
  void giveUp(Run& run);
  uint64_t endWaiting();

  const BatchOptions& options_;
  FileDescriptor lock_;
  BatchReport report_;
  std::deque<Task> waiting_;
  std::map<pid_t, Task> running_;
  std::set<std::string> folders_;  ///< that have been looked through for what killed runs left
};

}  // namespace segmask
