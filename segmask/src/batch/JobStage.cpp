#include "src/batch/JobStage.h"

#include <filesystem>
#include <utility>

#include "io/OutputFile.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/batch/split_plan.h"
#include "src/command_line.h"
#include "src/json_values.h"
#include "video/FrameReader.h"
#include "video/PngPattern.h"

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

JobStage::JobStage(const BatchJob& job, StagedOutput::LeftBehind leftBehind, std::optional<Split> split)
    : job_(job), output_(job.render.output, leftBehind), split_(split) {
  if (split_) pieceFolder_.emplace(job.render.output, StagedOutput::LeftBehind::Leave);
  if (job.render.contactSheet) sheet_.emplace(*job.render.contactSheet, leftBehind);
}

int JobStage::run(const SwJsonObject* recorded) const {
  return runReporting([&] {
    SwJsonObject inputs = inputFacts(job_);
    addDigests(inputs);
    const bool isDone = recorded && haveSameDigests(inputs, *recorded);
    writeFile(inputsPath(), job_.render.output, jsonLine(std::move(inputs)));
    if (isDone) return kUnchanged;
    return split_ && plan() ? kPlanned : render(stagedOptions());
  });
}

RenderOptions JobStage::stagedOptions() const {
  RenderOptions options = job_.render;
  options.output = output_.path();
  options.summaryJson = summaryPath();
  if (sheet_) options.contactSheet = sheet_->path();
  options.noProgress = true;
  return options;
}

/// False when the job is to be drawn as a whole.
bool JobStage::plan() const {
  const std::vector<VideoPiece> pieces = planPieces(job_.render, split_->size, split_->useIndex);
  if (!pieces.empty()) writeFile(planPath(), job_.render.output, piecesText(pieces));
  return !pieces.empty();
}

std::size_t JobStage::takePlan() {
  pieces_ = piecesIn(takeJsonFile(planPath(), job_.render.output));
  if (pieces_.empty()) throw UserError(job_.render.output + ": its process has not said what its pieces are");
  return pieces_.size();
}

/// Where a piece is written; the images of all pieces side by side.
std::string JobStage::piecePath(std::size_t number) const {
  if (isSequence(job_.render.output)) return joinedPath();
  return pieceFolder_->pathOf("piece-" + std::to_string(number) + lowerCaseEnding(job_.render.output));
}

/// Where the pieces become one. Not yet among the staged outputs: a process that is killed meanwhile leaves
/// files.
std::string JobStage::joinedPath() const {
  const fs::path output = job_.render.output;
  return pieceFolder_->pathOf(isSequence(output) ? output.filename().string()
                                                 : "joined" + lowerCaseEnding(output));
}

void JobStage::stageJoined() const {
  const std::string joined = joinedPath();
  if (!isSequence(joined)) return fs::rename(joined, output_.path());
  const PngPattern pattern(joined);
  std::vector<fs::path> images;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(joined).parent_path())) {
    if (pattern.matches(entry.path().filename().string())) images.push_back(entry.path());
  }
  for (const fs::path& image : images) fs::rename(image, output_.pathOf(image.filename().string()));
}

PieceOptions JobStage::pieceOptions(std::size_t number) const {
  return {pieces_[number], pieceFolder_->pathOf("report-" + std::to_string(number) + ".json")};
}

int JobStage::runPiece(std::size_t number) const {
  return runReporting([&] {
    RenderOptions options = stagedOptions();
    options.output = piecePath(number);
    try {
      return renderPiece(options, pieceOptions(number));
    } catch (const NotAsIndexed&) {
      return kNotAsIndexed;
    }
  });
}

/// Each piece has opened the inputs anew, so they must be the same files all the time.
void JobStage::checkInputsAreThoseOfTheDigests() const {
  const std::optional<SwJsonObject> inputs = readJsonFile(inputsPath());
  if (!inputs || compareInputs(inputFacts(job_), *inputs) != InputsAre::Same) {
    throw UserError(job_.render.input + ": an input of the job has changed while it was drawn in pieces");
  }
}

int JobStage::runJoin() const {
  return runReporting([&] {
    std::vector<PieceOptions> pieces;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < pieces_.size(); ++i) {
      pieces.push_back(pieceOptions(i));
      files.push_back(piecePath(i));
    }
    RenderOptions options = stagedOptions();
    options.output = joinedPath();
    const int code = joinRender(options, pieces, files);
    checkInputsAreThoseOfTheDigests();
    stageJoined();
    return code;
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
  if (!pieces_.empty()) replaceAll(message, joinedPath(), job_.render.output);
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    replaceAll(message, pieceOptions(i).report, job_.render.output);
    replaceAll(message, piecePath(i), job_.render.output);
  }
  return message;
}

}  // namespace segmask
