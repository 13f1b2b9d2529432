#include "tests/BadInput.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "io/FileDescriptor.h"
#include "test_support/frames.h"

namespace {

constexpr int kFrames = 6;

void replaceAll(std::string& text, const std::string& part, const std::string& other) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += other.size()) {
    text.replace(at, part.size(), other);
  }
}

/// The paths of all that is in a folder and its folders.
std::vector<std::string> pathsIn(const std::string& folder) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    paths.push_back(entry.path().string());
  std::sort(paths.begin(), paths.end());
  return paths;
}

}  // namespace

BadInput::BadInput() {
  const ::testing::TestInfo* const test = ::testing::UnitTest::GetInstance()->current_test_info();
  row_ = badInputRow(std::string(test->test_suite_name()) + "." + test->name());
  folder_.write("in.nv12", flatFrames(kWidth, kHeight, kFrames));
  folder_.write("good.jsonl", fullMaskLine(0, "p") + fullMaskLine(1, "p"));
  folder_.write("out.nv12", "old");
}

BadInput::Arguments BadInput::rendering(const Options& changes) const {
  Options options{{"--input", path("in.nv12")},
                  {"--size", "16x8"},
                  {"--detections", path("good.jsonl")},
                  {"--output", path("out.nv12")}};
  for (const auto& [option, value] : changes) options[option] = value;
  Arguments all{"render"};
  for (const auto& [option, value] : options) {
    if (!value.empty()) {
      all.push_back(option + "=" + value);
    } else {  // after "--option=" CLI11 would take the next word
      all.insert(all.end(), {option, value});
    }
  }
  return all;
}

void BadInput::expectRow(const ToolResult& result, const std::vector<std::string>& before) const {
  std::string said = result.err;
  replaceAll(said, path(""), "");
  replaceAll(said, libraryPath(""), "");
  EXPECT_EQ(result.exitCode, row_.exitCode) << said;
  EXPECT_EQ(lineCount(said), 1U) << said;
  ASSERT_EQ(said.find("segmask: "), 0U) << said;
  ASSERT_EQ(said.back(), '\n');
  said = said.substr(9, said.size() - 10);
  EXPECT_TRUE(isMessage(row_, said)) << said << "\nis not: " << row_.message;
  EXPECT_EQ(pathsIn(path("")), before);
  EXPECT_EQ(readFile(path("out.nv12")) == "old", row_.exitCode == 2);
  EXPECT_EQ(result.out.empty(), row_.exitCode == 2) << result.out;
}

void BadInput::run(const Arguments& arguments, const std::function<void()>& prepare) const {
  const std::vector<std::string> before = pathsIn(path(""));
  expectRow(runTool(arguments, prepare), before);
}

void BadInput::render(const std::string& input, const std::string& output, const Arguments& more) const {
  Arguments all{"render",     "--input",      path(input),       "--output",
                path(output), "--detections", path("good.jsonl")};
  all.insert(all.end(), more.begin(), more.end());
  run(all);
}

void BadInput::words(const Arguments& more) const {
  Arguments all = rendering({});
  all.insert(all.end(), more.begin(), more.end());
  run(all);
}

void BadInput::pipe(const std::string& option, const std::string& name, const std::string& bytes,
                    const std::function<void()>& meanwhile) const {
  ASSERT_EQ(mkfifo(path(name).c_str(), 0600), 0);
  const std::vector<std::string> before = pathsIn(path(""));
  const TempFolder streams;
  const segmask::FileDescriptor out(open(streams.write("out", "").c_str(), O_WRONLY | O_CLOEXEC));
  const segmask::FileDescriptor err(open(streams.write("err", "").c_str(), O_WRONLY | O_CLOEXEC));
  const pid_t process = startTool(rendering({{option, path(name)}}), out.get(), err.get());
  {
    std::ofstream writer(path(name));
    if (meanwhile) meanwhile();
    writer << bytes;
  }
  ToolResult result;
  result.exitCode = waitForTool(process);
  result.out = readFile(streams.path("out"));
  result.err = readFile(streams.path("err"));
  expectRow(result, before);
}

void giveUpPrivileges() {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}
