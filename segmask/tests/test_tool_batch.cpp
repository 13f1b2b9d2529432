#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace fs = std::filesystem;

namespace {

using segmask::FileDescriptor;
using Names = std::vector<std::string>;

SwJsonObject objectOf(const std::string& text) {
  SwJsonDocument document;
  SwString error;
  EXPECT_TRUE(document.loadFromJson(text, error)) << error.str() << ": " << text;
  return document.object();
}

/// The results, by the line of the job.
std::map<int64_t, SwJsonObject> resultsIn(const std::string& text) {
  std::map<int64_t, SwJsonObject> results;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const SwJsonObject result = objectOf(line);
    EXPECT_TRUE(results.emplace(result["job"].integer(), result).second) << "twice: " << line;
  }
  return results;
}

/// The status of each job, in the list's order.
Names statuses(const std::string& text) {
  Names words;
  for (const auto& [job, result] : resultsIn(text)) words.push_back(result["status"].text());
  return words;
}

/// Throws when it takes so long that it will never come.
template <class Condition>
void waitUntil(const Condition& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(4);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited in vain");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

/// Whether a process has ended, even if nobody has waited for it yet.
bool hasEnded(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  if (!std::getline(status, text)) return true;
  return text.compare(text.rfind(')') + 2, 1, "Z") == 0;
}

class ToolBatch : public ::testing::Test {
 protected:
  ToolBatch() {
    fs::create_directory(path("out"));
    folder_.write("in.nv12", noiseFrames(16, 16, 2));
    folder_.write("d.jsonl", fullMaskLine(0, "p"));
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  /// Adds a job to the list, whose output is out/NAME; `more` are further members, each after a comma.
  void add(const std::string& name, const std::string& more = "", const std::string& input = "in.nv12",
           const std::string& detections = "d.jsonl") {
    list_ += R"({"input": ")" + input + R"(", "size": "16x16", "detections": ")" + detections +
             R"(", "output": "out/)" + name + "\"" + more + "}\n";
    folder_.write("jobs.jsonl", list_);
  }

  Names arguments(const Names& more = {}) const {
    Names all{"batch", path("jobs.jsonl"), "--no-progress"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  ToolResult batch(const Names& more = {}) const { return runTool(arguments(more)); }

  /// What a single run draws.
  std::string drawn(const std::string& input = "in.nv12", const std::string& detections = "d.jsonl") const {
    const ToolResult result = runTool({"render", "--input", path(input), "--size", "16x16", "--detections",
                                       path(detections), "--output", path("single.nv12")});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return readFile(path("single.nv12"));
  }

  /// What is in the folder of outputs, sorted. The hidden folders of a run that was killed do not count.
  Names outputs() const {
    Names names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path("out"))) {
      const std::string name = entry.path().filename().string();
      if (name.rfind(".segmask-", 0) != 0) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  bool leftHiddenFolders() const {
    const fs::directory_iterator entries(path("out"));
    return std::any_of(begin(entries), end(entries), [](const fs::directory_entry& entry) {
      return entry.path().filename().string().rfind(".segmask-", 0) == 0;
    });
  }

  TempFolder folder_;
  std::string list_;
};

/// Jobs whose processes stop in their first frame until they are let go.
class ToolBatchHeld : public ToolBatch {
 protected:
  ToolBatchHeld() {
    folder_.write("hold", "");
    out_ = create("stdout");
    err_ = create("stderr");
  }

  void addHeld(const std::string& name) {
    add(name, R"(, "plugin": ")" + libraryPath("libsegmask_held_plugin.so") + R"(", "config": {"hold": ")" +
                  path("hold") + R"("})");
  }

  void letGo() const { fs::remove(path("hold")); }

  pid_t start(const Names& more) const { return startTool(arguments(more), out_.get(), err_.get()); }

  /// The processes that are held, as soon as there are so many.
  std::vector<pid_t> heldProcesses(std::size_t count) const {
    std::vector<pid_t> processes;
    waitUntil([&] {
      processes.clear();
      for (const std::string& name : folder_.names()) {
        if (name.rfind("hold.", 0) == 0) processes.push_back(std::stoi(name.substr(5)));
      }
      return processes.size() >= count;
    });
    return processes;
  }

  std::string out() const { return readFile(path("stdout")); }
  std::string err() const { return readFile(path("stderr")); }

 private:
  FileDescriptor create(const char* name) const {
    return FileDescriptor(open(path(name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  }

  FileDescriptor out_;
  FileDescriptor err_;
};

/// 200, and fewer where starting a process takes long.
int fileCount(double startSeconds) {
  constexpr double kMostSeconds = 10;
  return std::clamp(static_cast<int>(kMostSeconds / startSeconds), 12, 200);
}

TEST_F(ToolBatch, EveryOutputIsThatOfASingleRun) {
  constexpr int kInputs = 4;
  const std::string noise = noiseFrames(16, 16, 2 * kInputs);
  std::vector<std::string> expected;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kInputs; ++i) {
    const std::size_t bytes = 2 * frameBytes(16, 16);
    const std::string name = std::to_string(i);
    folder_.write("in" + name, noise.substr(static_cast<std::size_t>(i) * bytes, bytes));
    fs::rename(path("in" + name), path("in" + name + ".nv12"));
    folder_.write("d" + name + ".jsonl", fullMaskLine(i % 2, "p"));
    expected.push_back(drawn("in" + name + ".nv12", "d" + name + ".jsonl"));
  }
  EXPECT_NE(expected[0], expected[1]);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  const int count = fileCount(time.count() / kInputs);
  for (int i = 0; i < count; ++i) {
    const std::string name = std::to_string(i % kInputs);
    add(std::to_string(i) + ".nv12", "", "in" + name + ".nv12", "d" + name + ".jsonl");
  }
  const ToolResult result = batch({"--jobs", "2"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "segmask: jobs: " + std::to_string(count) + " done\n");
  EXPECT_EQ(statuses(result.out), Names(static_cast<std::size_t>(count), "done"));
  EXPECT_EQ(outputs().size(), static_cast<std::size_t>(2 * count));
  EXPECT_FALSE(leftHiddenFolders());
  for (int i = 0; i < count; ++i) {
    EXPECT_TRUE(readFile(path("out/" + std::to_string(i) + ".nv12")) ==
                expected[static_cast<std::size_t>(i % kInputs)])
        << i;
  }
}

TEST_F(ToolBatch, ResultAndRecordSayWhatWentInAndWhatCameOut) {
  add("a.nv12", R"(, "lookback": 1)");
  const ToolResult run = batch({"--results", path("results.jsonl")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "");
  const SwJsonObject result = objectOf(readFile(path("results.jsonl")));
  EXPECT_EQ(result["job"].integer(), 1);
  EXPECT_EQ(result["output"].text(), path("out/a.nv12"));
  EXPECT_EQ(result["status"].text(), "done");
  EXPECT_EQ(result["attempts"].integer(), 1);
  EXPECT_EQ(result["exit_code"].integer(), 0);
  EXPECT_EQ(result["frames"].integer(), 2);
  EXPECT_EQ(result["detections"].integer(), 1);
  EXPECT_EQ(result["drawn"].integer(), 1);
  EXPECT_GT(result["seconds"].number(), 0);
  const SwJsonObject record = objectOf(readFile(path("out/a.nv12.segmask.json")));
  for (const char* const input : {"input", "detections", "plugin"}) {
    const SwJsonValue facts = (*record["inputs"].object())[input];
    EXPECT_EQ((*facts.object())["sha256"], (*result["sha256"].object())[input]);
    EXPECT_EQ((*facts.object())["sha256"].text().size(), 64U);
  }
  const SwJsonObject& options = *record["options"].object();
  EXPECT_EQ(options["lookback"].text(), "1");
  EXPECT_EQ(options["size"].text(), "16x16");
  EXPECT_EQ((*record["summary"].object())["frames"].integer(), 2);
}

TEST_F(ToolBatch, ASecondRunDoesWhatIsMissingOrChanged) {
  const std::string other = folder_.write("other.jsonl", fullMaskLine(0, "p"));
  add("a.nv12");
  add("b.nv12", "", "in.nv12", "other.jsonl");
  EXPECT_EQ(statuses(batch().out), (Names{"done", "done"}));

  const ToolResult again = batch();
  EXPECT_EQ(again.exitCode, 0);
  EXPECT_EQ(again.err, "segmask: jobs: 2 skipped\n");
  for (const auto& [job, result] : resultsIn(again.out)) {
    EXPECT_EQ(result["status"].text(), "skipped");
    EXPECT_EQ(result["attempts"].integer(), 0);
    EXPECT_EQ(result["frames"].integer(), 2);
  }

  folder_.write("other.jsonl", fullMaskLine(1, "p"));
  EXPECT_EQ(statuses(batch().out), (Names{"skipped", "done"}));
  EXPECT_TRUE(readFile(path("out/b.nv12")) == drawn("in.nv12", "other.jsonl"));

  fs::remove(path("out/a.nv12"));
  EXPECT_EQ(statuses(batch().out), (Names{"done", "skipped"}));

  folder_.write("out/b.nv12.segmask.json", "{ half a rec");
  EXPECT_EQ(statuses(batch().out), (Names{"skipped", "done"}));

  list_.clear();
  add("a.nv12", R"(, "config": {"alpha": 1})");
  add("b.nv12", "", "in.nv12", "other.jsonl");
  EXPECT_EQ(statuses(batch().out), (Names{"done", "skipped"}));
  EXPECT_EQ(statuses(batch({"--redo"}).out), (Names{"done", "done"}));
}

TEST_F(ToolBatch, AnInputOfTheSameBytesWithAnotherTimeIsTheSame) {
  add("a.nv12");
  EXPECT_EQ(batch().exitCode, 0);
  const std::string oldRecord = readFile(path("out/a.nv12.segmask.json"));
  const std::array<timespec, 2> times{timespec{1'000'000'000, 5}, timespec{1'000'000'000, 5}};
  ASSERT_EQ(utimensat(AT_FDCWD, path("d.jsonl").c_str(), times.data(), 0), 0);
  fs::last_write_time(path("out/a.nv12"), fs::file_time_type::min());
  const auto outputTime = fs::last_write_time(path("out/a.nv12"));
  EXPECT_EQ(statuses(batch().out), Names{"skipped"});
  EXPECT_EQ(fs::last_write_time(path("out/a.nv12")), outputTime) << "it was drawn again";
  // The record has the new time, so that the next run need not read the file.
  const std::string newRecord = readFile(path("out/a.nv12.segmask.json"));
  EXPECT_NE(newRecord, oldRecord);
  EXPECT_NE(newRecord.find("\"mtime_ns\": 1000000000000000005"), std::string::npos) << newRecord;
  EXPECT_EQ(statuses(batch().out), Names{"skipped"});
  EXPECT_EQ(readFile(path("out/a.nv12.segmask.json")), newRecord);

  folder_.write("d.jsonl", std::string(fullMaskLine(0, "q")));  // as long as before
  EXPECT_EQ(statuses(batch().out), Names{"done"});
}

TEST_F(ToolBatch, AnotherInputOfTheSameSizeAndTimeIsNotTheSame) {
  folder_.write("other.nv12", std::string(2 * frameBytes(16, 16), '\x40'));
  const std::array<timespec, 2> times{timespec{1'000'000'000, 5}, timespec{1'000'000'000, 5}};
  for (const char* input : {"in.nv12", "other.nv12"}) {
    ASSERT_EQ(utimensat(AT_FDCWD, path(input).c_str(), times.data(), 0), 0);
    list_.clear();
    add("a.nv12", "", input);
    EXPECT_EQ(statuses(batch().out), Names{"done"}) << input;
    EXPECT_TRUE(readFile(path("out/a.nv12")) == drawn(input));
  }
}

TEST_F(ToolBatch, AClosedPipeEndsItQuietly) {
  add("a.nv12");
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const pid_t process = startTool(arguments(), ends[1], STDERR_FILENO);
  close(ends[1]);
  EXPECT_EQ(waitForTool(process), 141);
}

TEST_F(ToolBatch, AJobThatFailsIsNamedAndTheOthersAreDone) {
  folder_.write("broken.mp4", "this is no video");
  add("a.nv12");
  list_ += R"({"input": "broken.mp4", "detections": "d.jsonl", "output": "out/b.mp4"})"
           "\n";
  add("c.nv12");
  const ToolResult result = batch();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(statuses(result.out), (Names{"done", "failed", "done"}));
  const SwJsonObject failed = resultsIn(result.out)[2];
  EXPECT_EQ(failed["attempts"].integer(), 1) << "it would fail again";
  const std::string error = failed["error"].text();
  EXPECT_EQ(error.rfind(path("broken.mp4") + ": ", 0), 0U) << error;
  EXPECT_EQ(result.err,
            "segmask: " + path("jobs.jsonl") + ":2: " + error + "\nsegmask: jobs: 2 done, 1 failed\n");
  EXPECT_EQ(outputs(), (Names{"a.nv12", "a.nv12.segmask.json", "c.nv12", "c.nv12.segmask.json"}));
  EXPECT_FALSE(leftHiddenFolders());
  // Only what failed is tried again.
  EXPECT_EQ(statuses(batch().out), (Names{"skipped", "failed", "skipped"}));
}

/// A limit of the files' sizes stands for a disk that is full for the large output alone.
TEST_F(ToolBatch, AnOutputThatDoesNotFitFailsAloneAndIsCalledByItsName) {
  folder_.write("large.nv12", noiseFrames(16, 16, 400));
  add("large.nv12", "", "large.nv12");
  add("small.nv12");
  const ToolResult result = runTool(arguments(), [] {
    const rlimit limit{100'000, 100'000};
    setrlimit(RLIMIT_FSIZE, &limit);
  });
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(statuses(result.out), (Names{"failed", "done"}));
  EXPECT_EQ(resultsIn(result.out)[1]["error"].text(), path("out/large.nv12") + ": File too large");
  EXPECT_EQ(outputs(), (Names{"small.nv12", "small.nv12.segmask.json"}));
  EXPECT_FALSE(leftHiddenFolders());
}

TEST_F(ToolBatch, StrictJobsGiveTheirExitCodeAlsoWhenTheyAreSkipped) {
  add("a.nv12", R"(, "strict": true, "config": {"min_score": 1})");
  add("b.nv12");
  for (const char* const status : {"done", "skipped"}) {
    const ToolResult result = batch();
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(statuses(result.out), (Names{status, status}));
    EXPECT_EQ(resultsIn(result.out)[1]["exit_code"].integer(), 3);
  }
}

TEST_F(ToolBatch, WarningsAreInTheResult) {
  folder_.write("d.jsonl", fullMaskLine(0, "p") + fullMaskLine(5, "p"));
  add("a.nv12");
  const ToolResult result = batch();
  EXPECT_EQ(result.exitCode, 0);
  const SwJsonObject line = resultsIn(result.out)[1];
  ASSERT_TRUE(line["warnings"].array());
  ASSERT_EQ(line["warnings"].array()->size(), 1U);
  EXPECT_NE((*line["warnings"].array())[0].text().find(path("d.jsonl") + ":2"), std::string::npos);
}

TEST_F(ToolBatch, SequencesAndContactSheetsAreOutputsToo) {
  add("f_%02d.png", R"(, "contact-sheet": "sheet.png")");
  EXPECT_EQ(batch().exitCode, 0);
  EXPECT_EQ(outputs(), (Names{"f_%02d.png.segmask.json", "f_00.png", "f_01.png"}));
  EXPECT_EQ(statuses(batch().out), Names{"skipped"});
  fs::remove(path("sheet.png"));
  EXPECT_EQ(statuses(batch().out), Names{"done"});
  EXPECT_TRUE(fs::exists(path("sheet.png")));
  fs::remove(path("out/f_01.png"));
  EXPECT_EQ(statuses(batch().out), Names{"done"});
  EXPECT_TRUE(fs::exists(path("out/f_01.png")));
}

TEST_F(ToolBatch, CheckingStartsNothing) {
  add("a.nv12");
  const ToolResult good = batch({"--check"});
  EXPECT_EQ(good.exitCode, 0);
  EXPECT_EQ(good.out + good.err, "");
  add("a.nv12");
  EXPECT_EQ(batch({"--check"}).exitCode, 2);
  EXPECT_EQ(outputs(), Names{});
}

TEST_F(ToolBatchHeld, AKilledProcessIsStartedAgain) {
  addHeld("a.nv12");
  const pid_t tool = start({});
  const pid_t child = heldProcesses(1).front();
  ASSERT_EQ(kill(child, SIGKILL), 0);
  // The second attempt has come as far as the first.
  heldProcesses(2);
  letGo();
  EXPECT_EQ(waitForTool(tool), 0) << err();
  EXPECT_EQ(resultsIn(out())[1]["attempts"].integer(), 2);
  EXPECT_EQ(statuses(out()), Names{"done"});
  EXPECT_TRUE(readFile(path("out/a.nv12")) == readFile(path("in.nv12")));
  EXPECT_FALSE(leftHiddenFolders());
}

TEST_F(ToolBatchHeld, RetriesEnd) {
  addHeld("a.nv12");
  const pid_t tool = start({"--retries", "1"});
  const pid_t first = heldProcesses(1).front();
  ASSERT_EQ(kill(first, SIGKILL), 0);
  for (const pid_t process : heldProcesses(2)) {
    if (process == first) continue;
    EXPECT_EQ(kill(process, SIGKILL), 0);
  }
  EXPECT_EQ(waitForTool(tool), 1);
  EXPECT_EQ(statuses(out()), Names{"failed"});
  EXPECT_EQ(resultsIn(out())[1]["attempts"].integer(), 2);
  EXPECT_EQ(err(), "segmask: " + path("jobs.jsonl") +
                       ":1: its process was ended by a signal: Killed\nsegmask: jobs: 1 failed\n");
  EXPECT_EQ(outputs(), Names{});
  EXPECT_FALSE(leftHiddenFolders());
}

TEST_F(ToolBatchHeld, AKilledRunTakesItsProcessesAlongAndIsResumed) {
  add("first.nv12");
  for (const char* const name : {"a.nv12", "b.nv12", "c.nv12"}) addHeld(name);
  const pid_t tool = start({"--jobs", "2"});
  const std::vector<pid_t> children = heldProcesses(2);
  ASSERT_EQ(kill(tool, SIGKILL), 0);
  EXPECT_EQ(waitForTool(tool), 128 + SIGKILL);
  for (const pid_t child : children) waitUntil([child] { return hasEnded(child); });
  EXPECT_EQ(outputs(), (Names{"first.nv12", "first.nv12.segmask.json"}));
  EXPECT_EQ(statuses(out()), Names{"done"});

  letGo();
  const ToolResult resumed = batch({"--jobs", "2"});
  EXPECT_EQ(resumed.exitCode, 0) << resumed.err;
  EXPECT_EQ(statuses(resumed.out), (Names{"skipped", "done", "done", "done"}));
  EXPECT_TRUE(readFile(path("out/first.nv12")) == drawn());
  for (const char* const name : {"out/a.nv12", "out/b.nv12", "out/c.nv12"}) {
    EXPECT_TRUE(readFile(path(name)) == readFile(path("in.nv12"))) << name;
  }
  EXPECT_EQ(outputs().size(), 8U);
}

TEST_F(ToolBatchHeld, AnInterruptLetsTheProcessesEndAndStartsNoMore) {
  for (const char* const name : {"a.nv12", "b.nv12", "c.nv12", "d.nv12"}) addHeld(name);
  const pid_t tool = start({"--jobs", "2"});
  heldProcesses(2);
  ASSERT_EQ(kill(tool, SIGINT), 0);
  // A process that was let go before the signal came may have drawn all.
  letGo();
  EXPECT_EQ(waitForTool(tool), 130) << err();
  for (const auto& [job, result] : resultsIn(out())) {
    const std::string output = result["output"].text();
    EXPECT_EQ(fs::exists(output), result["status"].text() == "done");
    EXPECT_EQ(fs::exists(output + ".segmask.json"), fs::exists(output));
    if (!fs::exists(output)) continue;
    EXPECT_TRUE(readFile(output) == readFile(path("in.nv12"))) << output;
  }
  EXPECT_EQ(outputs().size() % 2, 0U);
  EXPECT_FALSE(leftHiddenFolders());
  EXPECT_EQ(batch().exitCode, 0);
  EXPECT_EQ(outputs().size(), 8U);
}

TEST_F(ToolBatchHeld, ASecondSignalKillsTheProcesses) {
  for (const char* const name : {"a.nv12", "b.nv12", "c.nv12", "d.nv12"}) addHeld(name);
  const pid_t tool = start({"--jobs", "2"});
  const std::vector<pid_t> children = heldProcesses(2);
  ASSERT_EQ(kill(tool, SIGINT), 0);
  ASSERT_EQ(kill(tool, SIGTERM), 0);
  EXPECT_EQ(waitForTool(tool), 130);
  for (const pid_t child : children) EXPECT_TRUE(hasEnded(child));
  EXPECT_EQ(statuses(out()), (Names{"interrupted", "interrupted"}));
  EXPECT_EQ(err(), "segmask: jobs: 2 interrupted, 2 not started\n");
  EXPECT_EQ(outputs(), Names{});
  EXPECT_FALSE(leftHiddenFolders());
}

TEST_F(ToolBatchHeld, OneRunAtATimeHoldsAList) {
  addHeld("a.nv12");
  const pid_t tool = start({});
  heldProcesses(1);
  const ToolResult second = batch();
  EXPECT_EQ(second.exitCode, 2);
  EXPECT_EQ(second.err,
            "segmask: " + path("jobs.jsonl") + ": another segmask batch is working on this list\n");
  letGo();
  EXPECT_EQ(waitForTool(tool), 0);
  EXPECT_EQ(statuses(out()), Names{"done"});
}

}  // namespace
