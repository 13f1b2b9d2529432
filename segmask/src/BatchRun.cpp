#include "src/BatchRun.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>
#include <utility>

#include "io/UserError.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

using Status = JobResult::Status;

/// A process for each core. One render keeps several threads busy only now and then, and other processes fill
/// the gaps.
std::size_t processesFor(const BatchOptions& options) {
  return options.processes.value_or(std::max(1U, std::thread::hardware_concurrency()));
}

/// Whether a process with this exit code has left whole outputs.
bool isGood(int code) {
  return code == kExitDone || code == kExitDropped || code == JobStage::kUnchanged;
}

JobResult failed(const UserError& error, uint64_t attempts) {
  JobResult result;
  result.status = Status::Failed;
  result.attempts = attempts;
  result.error = error.what();
  return result;
}

JobResult skipped(JobRecord record) {
  JobResult result;
  result.status = Status::Skipped;
  result.seconds = record.seconds;
  result.record = std::move(record);
  return result;
}

}  // namespace

BatchRun::BatchRun(const BatchOptions& options, const std::vector<BatchJob>& jobs, FileDescriptor lock)
    : options_(options), lock_(std::move(lock)), report_(options) {
  for (const BatchJob& job : jobs) plan(job);
}

void BatchRun::plan(const BatchJob& job) {
  Task task{&job, std::nullopt, 0, nullptr};
  std::optional<JobRecord> record = options_.redo ? std::nullopt : readRecord(job);
  if (record) {
    const InputsAre inputs = compareInputs(inputFacts(job), record->inputs);
    if (inputs == InputsAre::Same) return report_.add(job, skipped(std::move(*record)));
    if (inputs == InputsAre::Touched) task.touched = std::move(record);
  }
  waiting_.push_back(std::move(task));
}

int BatchRun::run() {
  constexpr std::chrono::milliseconds kBarTime{200};
  const std::size_t most = processesFor(options_);
  int interrupts = 0;
  report_.begin(waiting_.size());
  ProcessPool pool;
  while (interrupts == 0 ? !waiting_.empty() || !running_.empty() : !running_.empty()) {
    while (interrupts == 0 && running_.size() < most && !waiting_.empty()) start(pool);
    for (const ProcessPool::Ended& ended : pool.wait(running_.empty() ? kBarTime * 0 : kBarTime)) {
      finish(ended, pool.interrupts() > 0);
    }
    if (pool.interrupts() > interrupts) {
      interrupts = pool.interrupts();
      pool.signalAll(interrupts == 1 ? SIGTERM : SIGKILL);
    }
    report_.update();
  }
  return report_.finish(interrupts > 0, waiting_.size());
}

void BatchRun::start(ProcessPool& pool) {
  Task task = std::move(waiting_.front());
  waiting_.pop_front();
  ++task.attempts;
  if (!makeStage(task)) return;
  const SwJsonObject* const recorded = task.touched ? &task.touched->inputs : nullptr;
  const JobStage& stage = *task.stage;
  const pid_t process = pool.start([this, &stage, recorded] {
    // The list is this process's to hold: a child may outlive it for a moment.
    lock_.reset();
    return stage.run(recorded);
  });
  running_.emplace(process, std::move(task));
}

bool BatchRun::makeStage(Task& task) {
  using LeftBehind = StagedOutput::LeftBehind;
  const BatchJob& job = *task.job;
  const bool isNew = folders_.insert(fs::path(job.render.output).parent_path().string()).second;
  try {
    task.stage = std::make_unique<JobStage>(job, isNew ? LeftBehind::Remove : LeftBehind::Leave);
  } catch (const UserError& error) {
    report_.add(job, failed(error, 0));
  }
  return task.stage != nullptr;
}

JobResult BatchRun::endWell(Task& task, JobStage& stage, int code, JobResult result) {
  try {
    if (code == JobStage::kUnchanged) return skipped(stage.refresh(std::move(*task.touched)));
    result.record = stage.commit(code, result.seconds);
    return result;
  } catch (const UserError& error) {
    return failed(error, task.attempts);
  }
}

void BatchRun::finish(const ProcessPool::Ended& ended, bool interrupted) {
  Task task = std::move(running_.extract(ended.process).mapped());
  const std::unique_ptr<JobStage> stage = std::move(task.stage);
  const std::optional<int> code = exitCodeOf(ended.status);
  const std::string errors = stage->withFinalNames(ended.errors);
  JobResult result;
  result.attempts = task.attempts;
  result.seconds = ended.seconds;
  result.warnings = warningsIn(errors);
  if (code && isGood(*code)) {
    result = endWell(task, *stage, *code, std::move(result));
  } else if (interrupted) {
    result.status = Status::Interrupted;
  } else if (code != kExitError && task.attempts <= options_.retries) {
    return waiting_.push_back(std::move(task));
  } else {
    result.status = Status::Failed;
    result.error = failureOf(ended.status, errors);
  }
  report_.add(*task.job, result);
}

}  // namespace segmask
