#include "src/batch/BatchRun.h"

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
using Clock = std::chrono::steady_clock;

/// A process for each core. One render keeps several threads busy only now and then, and other processes fill
/// the gaps.
std::size_t processesFor(const BatchOptions& options) {
  return options.processes.value_or(std::max(1U, std::thread::hardware_concurrency()));
}

/// Whether a process with this exit code has left whole outputs.
bool isGood(int code) {
  return code == kExitDone || code == kExitDropped || code == JobStage::kUnchanged;
}

JobResult failed(const std::string& error, uint64_t attempts) {
  JobResult result;
  result.status = Status::Failed;
  result.attempts = attempts;
  result.error = error;
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
  auto run = std::make_shared<Run>();
  run->job = &job;
  std::optional<JobRecord> record = options_.redo ? std::nullopt : readRecord(job);
  if (record) {
    const InputsAre inputs = compareInputs(inputFacts(job), record->inputs);
    if (inputs == InputsAre::Same) return report_.add(job, skipped(std::move(*record)));
    if (inputs == InputsAre::Touched) run->touched = std::move(record);
  }
  waiting_.push_back({std::move(run)});
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
      finish(ended, pool);
    }
    if (pool.interrupts() > interrupts) {
      interrupts = pool.interrupts();
      pool.signalAll(interrupts == 1 ? SIGTERM : SIGKILL);
    }
    report_.update();
  }
  return report_.finish(interrupts > 0, endWaiting());
}

void BatchRun::start(ProcessPool& pool) {
  Task task = std::move(waiting_.front());
  waiting_.pop_front();
  Run& run = *task.run;
  if (run.isOver || (task.step == Step::Whole && !makeStage(run))) return;
  ++task.attempts;
  ++run.processes;
  const pid_t process = pool.start([this, &task] {
    // The list is this process's to hold: a child may outlive it for a moment.
    lock_.reset();
    return work(task);
  });
  running_.emplace(process, std::move(task));
}

int BatchRun::work(const Task& task) const {
  const Run& run = *task.run;
  if (task.step == Step::Piece) return run.stage->runPiece(task.piece);
  if (task.step == Step::Join) return run.stage->runJoin();
  return run.stage->run(run.touched ? &run.touched->inputs : nullptr);
}

bool BatchRun::makeStage(Run& run) {
  using LeftBehind = StagedOutput::LeftBehind;
  const std::string folder = fs::path(run.job->render.output).parent_path().string();
  const bool isNew = folders_.insert(folder).second;
  if (run.processes == 0) run.start = Clock::now();
  std::optional<JobStage::Split> split;
  if (options_.split) split = {*options_.split, run.useIndex};
  try {
    run.stage.reset();
    run.stage = std::make_unique<JobStage>(*run.job, isNew ? LeftBehind::Remove : LeftBehind::Leave, split);
  } catch (const UserError& error) {
    end(run, failed(error.what(), run.processes));
  }
  return run.stage != nullptr;
}

void BatchRun::finish(const ProcessPool::Ended& ended, const ProcessPool& pool) {
  const Task task = std::move(running_.extract(ended.process).mapped());
  Run& run = *task.run;
  if (run.isOver) return;
  const std::optional<int> code = exitCodeOf(ended.status);
  if (task.step == Step::Whole && code == JobStage::kPlanned) return split(task.run);
  if (task.step == Step::Piece && code == kExitDone) return finishPiece(task.run);
  if (task.step == Step::Piece && code == JobStage::kNotAsIndexed) return startOver(task.run);

  const std::string errors = run.stage->withFinalNames(ended.errors);
  const std::chrono::duration<double> sinceStart = Clock::now() - run.start;
  JobResult result;
  result.attempts = run.processes;
  result.seconds = task.step == Step::Whole ? ended.seconds : sinceStart.count();
  result.warnings = warningsIn(errors);
  if (code && isGood(*code)) {
    result = endWell(task, *code, std::move(result));
  } else if (pool.interrupts() > 0) {
    result.status = Status::Interrupted;
  } else if (code != kExitError && task.attempts <= options_.retries) {
    if (task.step == Step::Whole) run.stage.reset();
    return waiting_.push_back(task);
  } else {
    result.status = Status::Failed;
    result.error = failureOf(ended.status, errors);
  }
  end(run, result);
}

void BatchRun::split(const std::shared_ptr<Run>& run) {
  try {
    run->piecesLeft = run->stage->takePlan();
  } catch (const UserError& error) {
    return end(*run, failed(error.what(), run->processes));
  }
  // Before the jobs that have not begun, so that few are in pieces at a time.
  for (std::size_t piece = run->piecesLeft; piece > 0; --piece) {
    waiting_.push_front({run, Step::Piece, piece - 1});
  }
}

void BatchRun::finishPiece(const std::shared_ptr<Run>& run) {
  if (--run->piecesLeft == 0) waiting_.push_front({run, Step::Join});
}

/// Begins a job again whose input is not what its index says, this time without one.
void BatchRun::startOver(const std::shared_ptr<Run>& run) {
  auto again = std::make_shared<Run>();
  again->job = run->job;
  again->processes = run->processes;
  again->start = run->start;
  again->useIndex = false;
  giveUp(*run);
  waiting_.push_front({std::move(again)});
}

JobResult BatchRun::endWell(const Task& task, int code, JobResult result) {
  Run& run = *task.run;
  try {
    if (code == JobStage::kUnchanged) return skipped(run.stage->refresh(std::move(*run.touched)));
    result.record = run.stage->commit(code, result.seconds);
    return result;
  } catch (const UserError& error) {
    return failed(error.what(), run.processes);
  }
}

void BatchRun::end(Run& run, const JobResult& result) {
  giveUp(run);
  report_.add(*run.job, result);
}

/// Ends the processes that still work for the run. Its files go with the last of them.
void BatchRun::giveUp(Run& run) {
  run.isOver = true;
  for (const auto& [process, task] : running_) {
    if (task.run.get() == &run) ProcessPool::kill(process);
  }
}

/// Tells of the jobs that were begun and wait for a further process, after an interrupt. Returns how many
/// were not begun.
uint64_t BatchRun::endWaiting() {
  uint64_t notStarted = 0;
  for (const Task& task : waiting_) {
    Run& run = *task.run;
    if (run.isOver) continue;
    if (run.processes == 0) {
      ++notStarted;
      continue;
    }
    JobResult result;
    result.status = Status::Interrupted;
    result.attempts = run.processes;
    end(run, result);
  }
  waiting_.clear();
  return notStarted;
}

}  // namespace segmask
