#include "src/batch/job_list.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "core/SwJsonDocument.h"
#include "host/nearest_name.h"
#include "io/LineReader.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/batch/JobConflicts.h"
#include "src/batch/JobRecord.h"
#include "src/command_line.h"
#include "src/json_values.h"
#include "src/render/PicturePlan.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

using Kind = RenderOption::Kind;

std::string quoted(const std::string& name) {
  return "\"" + name + "\"";
}

const RenderOption& optionNamed(const std::string& name, const std::vector<RenderOption>& options) {
  std::vector<std::string> names;
  for (const RenderOption& option : options) {
    if (option.name == name) return option;
    names.push_back(option.name);
  }
  const std::string nearest = nearestName(name, names);
  throw UserError("a job has no " + quoted(name) +
                  (nearest.empty() ? " (its members are options of segmask render)"
                                   : "; did you mean " + quoted(nearest) + "?"));
}

/// What stands after "--name=" on a command line. Empty for a value of a wrong kind.
std::string valueText(const SwJsonValue& value, Kind kind) {
  if (value.isString()) return value.text();
  if (kind == Kind::Json && value.isObject()) return jsonLine(value);
  if (kind == Kind::Value && (value.isInt() || value.isDouble())) return jsonLine(value);
  return {};
}

const char* wantedFor(Kind kind) {
  if (kind == Kind::File) return "a path";
  return kind == Kind::Json ? "an object" : "a text or a number";
}

std::string resolved(const std::string& path, const fs::path& folder) {
  if (path == "-") throw UserError("-: a job has files, not standard input or output");
  return fs::path(path).is_absolute() ? path : (folder / path).string();
}

/// The job's options as arguments of `segmask render`; what names no file goes to `settings` too.
std::vector<std::string> argumentsOf(const SwJsonObject& job, const std::vector<RenderOption>& options,
                                     const fs::path& folder, SwJsonObject& settings) {
  std::vector<std::string> arguments;
  for (const auto& [name, value] : job) {
    const Kind kind = optionNamed(name, options).kind;
    if (kind == Kind::Flag) {
      if (!value.isBool()) throw UserError(quoted(name) + " is neither true nor false");
      if (!value.boolean()) continue;
      settings.insert(name, "true");
      arguments.push_back("--" + name);
      continue;
    }
    std::string text = valueText(value, kind);
    if (text.empty()) throw UserError(quoted(name) + " is not " + wantedFor(kind));
    if (kind == Kind::File) {
      // The system would take the path to end there, behind the checks of its ending.
      if (text.find('\0') != std::string::npos)
        throw UserError(quoted(name) + " has a byte of 0 in its path");
      text = resolved(text, folder);
    } else {
      settings.insert(name, text);
    }
    arguments.emplace_back("--" + name + "=").append(text);
  }
  for (const RenderOption& option : options) {
    if (option.required && !job.contains(option.name)) throw UserError("no " + quoted(option.name));
  }
  return arguments;
}

void checkIsFile(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) throw UserError(path + ": " + error.message());
  if (!fs::is_regular_file(status)) throw UserError(path + ": is no regular file");
}

void checkOutputPlace(const std::string& path) {
  std::error_code error;
  if (lowerCaseEnding(path).empty())
    throw UserError(path + ": the output of a job is a file or name_%04d.png");
  const fs::path folder = fs::path(path).parent_path() / ".";
  if (!fs::is_directory(folder, error)) throw UserError(path + ": its folder does not exist");
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) throw UserError(path + ": is no regular file");
}

void checkFiles(const RenderOptions& options) {
  checkIsFile(options.input);
  checkIsFile(options.detections);
  if (options.plugin.file) checkIsFile(*options.plugin.file);
  checkOutputPlace(options.output);
  const std::string record = recordPathOf(options.output);
  if (fs::exists(record) && !fs::is_regular_file(record)) throw UserError(record + ": is no regular file");
  if (options.contactSheet) checkOutputPlace(*options.contactSheet);
}

BatchJob parseJob(const std::string& text, uint64_t line, const std::vector<RenderOption>& options,
                  const fs::path& folder) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text, error)) throw UserError("not JSON: " + error.str());
  const SwJsonObject* const object = document.root().object();
  if (!document.root().isObject()) throw UserError("not a JSON object");
  BatchJob job;
  job.line = line;
  job.render =
      parseRenderOptions(argumentsOf(object ? *object : SwJsonObject(), options, folder, job.settings));
  checkFiles(job.render);
  checkOptions(job.render, planPictures(job.render));
  return job;
}

/// Calls `work`; its UserError gets the place in the list.
template <class Work>
void atLine(const std::string& list, uint64_t line, const Work& work) {
  try {
    work();
  } catch (const UserError& error) {
    throw UserError(list + ":" + std::to_string(line) + ": " + error.what());
  }
}

}  // namespace

std::vector<BatchJob> readJobList(const std::string& path) {
  LineReader reader(path);
  const fs::path folder = fs::path(path).parent_path();
  const std::vector<RenderOption> options = renderOptions();
  std::vector<BatchJob> jobs;
  JobConflicts conflicts;
  for (std::string text; reader.next(text);) {
    constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
    if (reader.lineNumber() == 1 && text.rfind(kByteOrderMark, 0) == 0) text.erase(0, 3);
    if (text.find_first_not_of(" \t\r\v\f") == std::string::npos) continue;
    atLine(path, reader.lineNumber(), [&] {
      jobs.push_back(parseJob(text, reader.lineNumber(), options, folder));
      conflicts.addOutputs(jobs.back());
    });
  }
  if (jobs.empty()) throw UserError(path + ": holds no job");
  for (const BatchJob& job : jobs) {
    atLine(path, job.line, [&] { conflicts.checkInputs(job); });
  }
  return jobs;
}

}  // namespace segmask
