#include <sys/file.h>

#include <cerrno>
#include <utility>

#include "io/FileDescriptor.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/batch/BatchRun.h"
#include "src/batch/JobConflicts.h"
#include "src/batch/job_list.h"
#include "src/commands.h"

namespace segmask {
namespace {

/// Holds the list, so that two runs do not do the same work. Where the file system has no locks, they would:
/// each output would still be whole.
FileDescriptor lockList(const std::string& path) {
  FileDescriptor list = openForReading(path);
  if (flock(list.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw UserError(path + ": another segmask batch is working on this list");
  }
  return list;
}

void checkResults(const BatchOptions& options, const std::vector<BatchJob>& jobs) {
  if (!options.results) return;
  const std::string& results = *options.results;
  if (isSameFile(results, options.list)) throw UserError(results + ": --results would replace the list");
  JobConflicts conflicts;
  for (const BatchJob& job : jobs) {
    conflicts.addOutputs(job);
    for (const std::string& input : {job.render.input, job.render.detections}) {
      if (isSameFile(results, input)) throw UserError(results + ": --results would replace an input");
    }
  }
  if (const uint64_t line = conflicts.writerOf(results)) {
    throw UserError(results + ": --results would replace an output of line " + std::to_string(line));
  }
}

}  // namespace

int batch(const BatchOptions& options) {
  FileDescriptor lock = lockList(options.list);
  const std::vector<BatchJob> jobs = readJobList(options.list);
  checkResults(options, jobs);
  if (options.check) return kExitDone;
  return BatchRun(options, jobs, std::move(lock)).run();
}

}  // namespace segmask
