#pragma once

#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"
#include "src/BatchJob.h"
#include "src/BatchReport.h"
#include "src/JobStage.h"
#include "src/ProcessPool.h"

namespace segmask {

/// Runs the jobs of a list, each in a process of its own, but those that are done. A job whose process was
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
  struct Task {
    const BatchJob* job;
    std::optional<JobRecord> touched;  ///< its record, when only times of its inputs have changed
    uint64_t attempts = 0;
    std::unique_ptr<JobStage> stage;  ///< while it runs
  };

  void plan(const BatchJob& job);
  void start(ProcessPool& pool);
  bool makeStage(Task& task);
  static JobResult endWell(Task& task, JobStage& stage, int code, JobResult result);
  void finish(const ProcessPool::Ended& ended, bool interrupted);

  const BatchOptions& options_;
  FileDescriptor lock_;
  BatchReport report_;
  std::deque<Task> waiting_;
  std::map<pid_t, Task> running_;
  std::set<std::string> folders_;  ///< that have been looked through for what killed runs left
};

}  // namespace segmask
