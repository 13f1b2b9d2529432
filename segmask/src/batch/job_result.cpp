#include "src/batch/job_result.h"

#include <sys/wait.h>

#include <cstring>
#include <sstream>
#include <utility>

#include "core/SwJsonArray.h"
#include "io/UserError.h"
#include "src/json_values.h"

namespace segmask {
namespace {

constexpr char kPrefix[] = "segmask: ";
constexpr char kWarning[] = "segmask: warning: ";

const char* wordFor(JobResult::Status status) {
  switch (status) {
    case JobResult::Status::Done:
      return "done";
    case JobResult::Status::Skipped:
      return "skipped";
    case JobResult::Status::Failed:
      return "failed";
    default:
      return "interrupted";
  }
}

bool startsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

/// Calls visit(line) for each line of the text.
template <class Visit>
void forEachLine(const std::string& text, const Visit& visit) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) visit(line);
}

SwJsonObject digestsOf(const SwJsonObject& inputs) {
  SwJsonObject digests;
  for (const auto& [option, facts] : inputs) {
    if (facts.object()) digests.insert(option, (*facts.object())["sha256"]);
  }
  return digests;
}

void addRecord(SwJsonObject& object, const JobRecord& record) {
  for (const char* const member : {"frames", "detections", "drawn", "dropped"}) {
    if (const SwJsonValue* const value = record.summary.find(member)) object.insert(member, *value);
  }
  object.insert("exit_code", record.exitCode);
  object.insert("sha256", digestsOf(record.inputs));
}

}  // namespace

std::string resultLine(const BatchJob& job, const JobResult& result) {
  SwJsonObject object;
  object.insert("job", job.line);
  object.insert("output", job.render.output);
  object.insert("status", wordFor(result.status));
  object.insert("attempts", result.attempts);
  object.insert("seconds", result.seconds);
  if (result.record) addRecord(object, *result.record);
  if (!result.error.empty()) object.insert("error", result.error);
  if (!result.warnings.empty()) {
    SwJsonArray warnings;
    for (const std::string& warning : result.warnings) warnings.append(warning);
    object.insert("warnings", std::move(warnings));
  }
  return jsonLine(std::move(object));
}

std::optional<int> exitCodeOf(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  return std::nullopt;
}

std::string failureOf(int status, const std::string& errors) {
  std::string message;
  forEachLine(errors, [&message](const std::string& line) {
    if (startsWith(line, kPrefix) && !startsWith(line, kWarning)) message = line.substr(std::strlen(kPrefix));
  });
  if (WIFSIGNALED(status)) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
    return std::string("its process was ended by a signal: ") + strsignal(WTERMSIG(status));
  }
  return message.empty() ? "its process ended with exit code " + std::to_string(WEXITSTATUS(status))
                         : message;
}

std::vector<std::string> warningsIn(const std::string& errors) {
  std::vector<std::string> warnings;
  forEachLine(errors, [&warnings](const std::string& line) {
    if (startsWith(line, kWarning)) warnings.push_back(oneLine(line.substr(std::strlen(kWarning))));
  });
  return warnings;
}

}  // namespace segmask
