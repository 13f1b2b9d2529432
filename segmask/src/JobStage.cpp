#include "src/JobStage.h"

#include <filesystem>
#include <utility>

#include "io/OutputFile.h"
#include "io/UserError.h"
#include "src/command_line.h"
#include "src/json_output.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

void writeFile(const std::string& path, const std::string& name, const std::string& text) {
  OutputFile file(path, name);
  file.write(text);
  file.close();
}

void removeFile(const std::string& path) {
  std::error_code ignored;
  fs::remove(path, ignored);
}

/// A JSON object that the process has left for its parent. `output` is what errors call the job.
SwJsonObject takeJsonFile(const std::string& path, const std::string& output) {
  std::optional<SwJsonObject> object = readJsonFile(path);
  if (!object) throw UserError(output + ": its process has not said what it did");
  removeFile(path);
  return std::move(*object);
}

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
}

}  // namespace

JobStage::JobStage(const BatchJob& job, StagedOutput::LeftBehind leftBehind)
    : job_(job), output_(job.render.output, leftBehind) {
  if (job.render.contactSheet) sheet_.emplace(*job.render.contactSheet, leftBehind);
}

int JobStage::run(const SwJsonObject* recorded) const {
  return runReporting([&] {
    SwJsonObject inputs = inputFacts(job_);
    addDigests(inputs);
    const bool isDone = recorded && haveSameDigests(inputs, *recorded);
    writeFile(inputsPath(), job_.render.output, jsonLine(std::move(inputs)));
    if (isDone) return kUnchanged;

    RenderOptions options = job_.render;
    options.output = output_.path();
    options.summaryJson = summaryPath();
    if (sheet_) options.contactSheet = sheet_->path();
    options.noProgress = true;
    return render(options);
  });
}

JobRecord JobStage::commit(int exitCode, double seconds) {
  const std::string& output = job_.render.output;
  JobRecord record;
  record.inputs = takeJsonFile(inputsPath(), output);
  record.summary = takeJsonFile(summaryPath(), output);
  record.exitCode = exitCode;
  record.seconds = seconds;
  // What stands there describes the old outputs.
  removeFile(recordPathOf(output));
  output_.commit();
  if (sheet_) sheet_->commit();
  record.outputs = outputFacts(job_);
  writeRecord(record);
  return record;
}

JobRecord JobStage::refresh(JobRecord record) const {
  record.inputs = takeJsonFile(inputsPath(), job_.render.output);
  writeRecord(record);
  return record;
}

void JobStage::writeRecord(const JobRecord& record) const {
  const std::string path = recordPathOf(job_.render.output);
  StagedOutput file(path, StagedOutput::LeftBehind::Leave);
  writeFile(file.path(), path, recordText(job_, record));
  file.commit();
}

std::string JobStage::withFinalNames(std::string message) const {
  replaceAll(message, output_.path(), job_.render.output);
  if (sheet_) replaceAll(message, sheet_->path(), *job_.render.contactSheet);
  return message;
}

}  // namespace segmask
