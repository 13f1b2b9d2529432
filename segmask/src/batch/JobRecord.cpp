#include "src/batch/JobRecord.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "core/SwJsonDocument.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/file_digest.h"
#include "src/json_values.h"
#include "video/PngPattern.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

SwJsonObject factsOf(const std::string& path) {
  constexpr int64_t kNanoseconds = 1'000'000'000;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw systemError(path, errno);
  SwJsonObject facts;
  facts.insert("path", path);
  facts.insert("size", int64_t{status.st_size});
  facts.insert("mtime_ns", int64_t{status.st_mtim.tv_sec} * kNanoseconds + status.st_mtim.tv_nsec);
  return facts;
}

SwJsonValue oneFile(const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(path, error);
  if (error) return {};
  SwJsonObject facts;
  facts.insert("files", 1);
  facts.insert("size", uint64_t{size});
  return facts;
}

SwJsonValue sequence(const std::string& path) {
  const PngPattern pattern(path);
  int64_t files = 0;
  std::error_code error;
  for (fs::directory_iterator entry(fs::path(path).parent_path() / ".", error), end; !error && entry != end;
       entry.increment(error)) {
    if (pattern.matches(entry->path().filename().string())) ++files;
  }
  if (files == 0) return {};
  SwJsonObject facts;
  facts.insert("files", files);
  return facts;
}

const SwJsonObject& objectIn(const SwJsonObject& parent, const char* name) {
  static const SwJsonObject kEmpty;
  const SwJsonObject* const object = parent[name].object();
  return object ? *object : kEmpty;
}

/// Whether all files have the same `member`, and are those of the same options.
bool haveSame(const char* member, const SwJsonObject& now, const SwJsonObject& recorded) {
  return now.size() == recorded.size() && std::all_of(now.begin(), now.end(), [&](const auto& file) {
           const std::string& option = file.first;
           return objectIn(now, option.c_str())[member] == objectIn(recorded, option.c_str())[member];
         });
}

}  // namespace

std::string recordPathOf(const std::string& output) {
  return output + ".segmask.json";
}

bool isSequence(const std::string& output) {
  return lowerCaseEnding(output) == ".png" &&
         fs::path(output).filename().string().find('%') != std::string::npos;
}

SwJsonObject inputFacts(const BatchJob& job) {
  SwJsonObject inputs;
  inputs.insert("input", factsOf(job.render.input));
  inputs.insert("detections", factsOf(job.render.detections));
  inputs.insert("plugin", factsOf(job.render.plugin.path()));
  return inputs;
}

void addDigests(SwJsonObject& inputs) {
  for (const char* const option : {"input", "detections", "plugin"}) {
    SwJsonObject& facts = *inputs.find(option)->object();
    facts.insert("sha256", sha256Of(facts["path"].text()));
  }
}

SwJsonValue outputFacts(const BatchJob& job) {
  const std::string& output = job.render.output;
  SwJsonObject outputs;
  outputs.insert("output", isSequence(output) ? sequence(output) : oneFile(output));
  if (job.render.contactSheet) outputs.insert("contact-sheet", oneFile(*job.render.contactSheet));
  for (const auto& [option, facts] : outputs) {
    if (facts.isNull()) return {};
  }
  return outputs;
}

std::string recordText(const BatchJob& job, const JobRecord& record) {
  SwJsonObject object;
  object.insert("segmask", SEGMASK_VERSION);
  object.insert("options", job.settings);
  object.insert("inputs", record.inputs);
  object.insert("outputs", record.outputs);
  object.insert("summary", record.summary);
  object.insert("exit_code", record.exitCode);
  object.insert("seconds", record.seconds);
  return jsonPage(object) + "\n";
}

std::optional<JobRecord> readRecord(const BatchJob& job) {
  const std::optional<SwJsonObject> object = readJsonFile(recordPathOf(job.render.output));
  if (!object || (*object)["segmask"].text() != SEGMASK_VERSION) return std::nullopt;
  if (objectIn(*object, "options") != job.settings) return std::nullopt;
  JobRecord record;
  record.outputs = outputFacts(job);
  if (record.outputs.isNull() || record.outputs != (*object)["outputs"]) return std::nullopt;
  record.inputs = objectIn(*object, "inputs");
  record.summary = objectIn(*object, "summary");
  record.exitCode = static_cast<int>((*object)["exit_code"].integer());
  const SwJsonValue& seconds = (*object)["seconds"];
  record.seconds = seconds.isInt() ? static_cast<double>(seconds.integer()) : seconds.number();
  return record;
}

InputsAre compareInputs(const SwJsonObject& now, const SwJsonObject& recorded) {
  if (!haveSame("size", now, recorded)) return InputsAre::Different;
  const bool isSame = haveSame("path", now, recorded) && haveSame("mtime_ns", now, recorded);
  return isSame ? InputsAre::Same : InputsAre::Touched;
}

bool haveSameDigests(const SwJsonObject& now, const SwJsonObject& recorded) {
  return haveSame("sha256", now, recorded);
}

std::optional<SwJsonObject> readJsonFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text, error) || !document.root().object()) return std::nullopt;
  return *document.root().object();
}

}  // namespace segmask
