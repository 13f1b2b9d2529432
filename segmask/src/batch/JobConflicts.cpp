#include "src/batch/JobConflicts.h"

#include <algorithm>
#include <filesystem>

#include "io/UserError.h"
#include "io/file_names.h"
#include "src/batch/JobRecord.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

/// More digits than a pattern's width usually has, so that the widths of two patterns do not matter.
constexpr uint64_t kLateFrame = 999'999'999'999;

/// One name for each file, whatever links lead to it; the file need not exist.
fs::path uniquePath(const fs::path& path) {
  std::error_code error;
  fs::path found = fs::weakly_canonical(linksFollowed(fs::absolute(path)), error);
  return error ? fs::absolute(path).lexically_normal() : found;
}

std::string folderOf(const std::string& path) {
  return uniquePath(fs::absolute(path).parent_path()).string();
}

[[noreturn]] void refuse(const std::string& path, uint64_t line) {
  throw UserError(path + ": the job of line " + std::to_string(line) + " writes it too");
}

}  // namespace

void JobConflicts::addOutputs(const BatchJob& job) {
  const std::string& output = job.render.output;
  if (isSequence(output)) {
    addSequence(output, job.line);
  } else {
    addFile(output, job.line);
  }
  addFile(recordPathOf(output), job.line);
  if (job.render.contactSheet) addFile(*job.render.contactSheet, job.line);
}

void JobConflicts::addFile(const std::string& path, uint64_t line) {
  if (const uint64_t writer = writerOf(path)) refuse(path, writer);
  files_.emplace(uniquePath(path).string(), line);
}

void JobConflicts::addSequence(const std::string& path, uint64_t line) {
  const PngPattern pattern(path);
  const std::string folder = folderOf(path);
  std::vector<Sequence>& others = sequences_[folder];
  for (const Sequence& other : others) {
    for (const uint64_t frame : {uint64_t{0}, kLateFrame}) {
      const bool meet =
          other.pattern.matches(pattern.fileName(frame)) || pattern.matches(other.pattern.fileName(frame));
      if (meet) refuse(path, other.line);
    }
  }
  const std::string prefix = fs::path(folder) / "";
  for (auto file = files_.lower_bound(prefix); file != files_.end(); ++file) {
    const auto& [name, writer] = *file;
    if (name.compare(0, prefix.size(), prefix) != 0) break;
    // Folders within it stand among its files.
    if (pattern.matches(name.substr(prefix.size()))) refuse(name, writer);
  }
  others.push_back({pattern, line});
}

uint64_t JobConflicts::writerOf(const std::string& path) const {
  const fs::path file = uniquePath(path);
  const auto found = files_.find(file.string());
  if (found != files_.end()) return found->second;
  const auto folder = sequences_.find(file.parent_path().string());
  if (folder == sequences_.end()) return 0;
  const std::string name = file.filename().string();
  const auto writer =
      std::find_if(folder->second.begin(), folder->second.end(),
                   [&name](const Sequence& sequence) { return sequence.pattern.matches(name); });
  return writer == folder->second.end() ? 0 : writer->line;
}

void JobConflicts::checkInputs(const BatchJob& job) const {
  for (const std::string& path : {job.render.input, job.render.detections}) {
    const uint64_t writer = writerOf(path);
    if (writer == 0) continue;
    throw UserError(path + ": is an input here, and the job of line " + std::to_string(writer) +
                    " would replace it");
  }
}

}  // namespace segmask
