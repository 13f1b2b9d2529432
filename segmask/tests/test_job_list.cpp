#include <gtest/gtest.h>

#include <filesystem>

#include "io/UserError.h"
#include "src/batch/job_list.h"
#include "test_support/TempFolder.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

class JobListTest : public ::testing::Test {
 protected:
  JobListTest() {
    for (const char* name : {"a.nv12", "b.nv12", "a.jsonl"}) folder_.write(name, "");
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  std::vector<BatchJob> read(const std::string& text) const {
    return readJobList(folder_.write("jobs.jsonl", text));
  }

  /// What the list is refused with, without the list's path.
  std::string faultOf(const std::string& text) const {
    try {
      read(text);
    } catch (const UserError& error) {
      const std::string what = error.what();
      EXPECT_EQ(what.substr(0, path("jobs.jsonl:").size()), path("jobs.jsonl:"));
      return what.substr(path("jobs.jsonl:").size());
    }
    return "none";
  }

  TempFolder folder_;
};

/// A job with that output, and with that input if one is given.
std::string job(const std::string& output, const std::string& more = "",
                const std::string& input = "a.nv12") {
  const std::string size = input.find(".png") == std::string::npos ? R"(, "size": "4x4")" : "";
  return R"({"input": ")" + input + "\"" + size + R"(, "detections": "a.jsonl", "output": ")" + output +
         "\"" + more + "}\n";
}

TEST_F(JobListTest, PathsAreRelativeToTheListsFolder) {
  const std::vector<BatchJob> jobs =
      read(job("out.nv12", R"(, "contact-sheet": "s.png")") + "\n \n" + job(path("other.nv12")));
  ASSERT_EQ(jobs.size(), 2U);
  EXPECT_EQ(jobs[0].line, 1U);
  EXPECT_EQ(jobs[0].render.input, path("a.nv12"));
  EXPECT_EQ(jobs[0].render.detections, path("a.jsonl"));
  EXPECT_EQ(jobs[0].render.output, path("out.nv12"));
  EXPECT_EQ(jobs[0].render.contactSheet, path("s.png"));
  EXPECT_EQ(jobs[0].render.size, "4x4");
  EXPECT_EQ(jobs[1].line, 4U);
  EXPECT_EQ(jobs[1].render.output, path("other.nv12"));
}

TEST_F(JobListTest, OptionsHaveTheirKinds) {
  const std::vector<BatchJob> jobs = read(
      job("1.nv12", R"(, "lookback": 3, "strict": true, "no-explain": false, "config": {"alpha": 0.5})") +
      job("2.nv12", R"(, "lookback": "3", "config": "{}", "fast": true)"));
  EXPECT_EQ(jobs[0].render.lookback, 3U);
  EXPECT_TRUE(jobs[0].render.strict);
  EXPECT_FALSE(jobs[0].render.noExplain);
  EXPECT_EQ(jobs[0].render.config, R"({"alpha": 0.5})");
  EXPECT_EQ(jobs[1].render.lookback, 3U);
  EXPECT_EQ(jobs[1].render.config, "{}");
  EXPECT_TRUE(jobs[1].render.plugin.fast);
  // What names no file, as texts.
  EXPECT_EQ(jobs[0].settings.size(), 4U);
  EXPECT_EQ(jobs[0].settings["lookback"].text(), "3");
  EXPECT_EQ(jobs[0].settings["strict"].text(), "true");
  EXPECT_EQ(jobs[0].settings["config"].text(), R"({"alpha": 0.5})");
  EXPECT_EQ(jobs[0].settings["size"].text(), "4x4");
}

TEST_F(JobListTest, FaultsNameTheLine) {
  EXPECT_EQ(faultOf("{}"), "1: no \"input\"");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "detection": "a.jsonl")")),
            "1: a job has no \"detection\"; did you mean \"detections\"?");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "report": "r.html")")),
            "1: a job has no \"report\" (its members are options of segmask render)");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "contact-sheet": 1)")), "1: \"contact-sheet\" is not a path");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "lookback": true)")), "1: \"lookback\" is not a text or a number");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "config": "[]")")),
            "1: --config: not a JSON object (it takes the object itself, like '{\"alpha\": 0.5}')");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "strict": true, "no-explain": true)")).substr(0, 3), "1: ");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "start": "0:0:0:1")")).substr(0, 10), "1: --start");
}

TEST_F(JobListTest, MissingFilesAreFoundBefore) {
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "plugin": "p.so")")),
            "1: " + path("p.so") + ": No such file or directory");
  fs::create_directory(path("folder.nv12"));
  EXPECT_EQ(faultOf(job("folder.nv12")), "1: " + path("folder.nv12") + ": is no regular file");
  EXPECT_EQ(faultOf(job("o.txt")).substr(0, 3), "1: ");
}

TEST_F(JobListTest, APathThatHasAByteOf0IsRefused) {
  const std::string zero = "\\u0000b.nv12";
  EXPECT_EQ(faultOf(job("a" + zero)), R"(1: "output" has a byte of 0 in its path)");
  EXPECT_EQ(faultOf(job("o.nv12", "", "a.nv12" + zero)), R"(1: "input" has a byte of 0 in its path)");
  EXPECT_EQ(faultOf(job("o.nv12", R"(, "contact-sheet": "s)" + zero + "\"")),
            R"(1: "contact-sheet" has a byte of 0 in its path)");
}

TEST_F(JobListTest, ASizeThatCannotBeIsFoundBefore) {
  const auto sized = [](const std::string& input, const std::string& size) {
    return R"({"input": ")" + input + "\"" + size + R"(, "detections": "a.jsonl", "output": "o.nv12"})";
  };
  EXPECT_EQ(faultOf(sized("a.nv12", R"(, "size": 16)")),
            "1: --size: '16' is not WIDTHxHEIGHT, two whole numbers from 1 to 65535");
  EXPECT_EQ(faultOf(sized("a.nv12", "")), "1: " + path("a.nv12") + ": raw frames need --size WIDTHxHEIGHT");
  folder_.write("v.mp4", "");
  EXPECT_EQ(faultOf(sized("v.mp4", R"(, "size": "4x4")")),
            "1: " + path("v.mp4") + ": --size is for raw .nv12 input; this file says its own");
}

TEST_F(JobListTest, AFolderInThePlaceOfARecordIsFoundBefore) {
  fs::create_directory(path("o.nv12.segmask.json"));
  EXPECT_EQ(faultOf(job("o.nv12")), "1: " + path("o.nv12.segmask.json") + ": is no regular file");
}

TEST_F(JobListTest, TwoJobsMustNotWriteOneFile) {
  fs::create_directory(path("sub"));
  fs::create_directory_symlink("sub", path("link"));
  folder_.write("real.nv12", "");
  fs::create_symlink("real.nv12", path("alias.nv12"));
  fs::create_symlink("later.nv12", path("ahead.nv12"));
  const std::pair<const char*, const char*> pairs[] = {{"o.nv12", "o.nv12"},
                                                       {"o.nv12", "./o.nv12"},
                                                       {"o.nv12", "sub/../o.nv12"},
                                                       {"sub/o.nv12", "link/o.nv12"},
                                                       {"real.nv12", "alias.nv12"},
                                                       {"later.nv12", "ahead.nv12"},
                                                       {"f_%d.png", "sub/../f_%d.png"},
                                                       {"f_%04d.png", "f_%d.png"},
                                                       {"f_%d.png", "f_1%d.png"}};
  for (const auto& [first, second] : pairs) {
    EXPECT_EQ(faultOf(job(first) + job("between.nv12") + job(second)),
              "3: " + path(second) + ": the job of line 1 writes it too");
  }
  EXPECT_EQ(faultOf(job("f_%d.png") + job("g_%d.png")), "none");
  EXPECT_EQ(faultOf(job("f_%d.png") + job("sub/f_%d.png")), "none");
}

TEST_F(JobListTest, ContactSheetsAreOutputsToo) {
  EXPECT_EQ(faultOf(job("1.nv12", R"(, "contact-sheet": "f_3.png")") + job("f_%d.png")),
            "2: " + path("f_3.png") + ": the job of line 1 writes it too");
  EXPECT_EQ(faultOf(job("f_%d.png") + job("1.nv12", R"(, "contact-sheet": "f_3.png")")),
            "2: " + path("f_3.png") + ": the job of line 1 writes it too");
}

TEST_F(JobListTest, FilesOfFoldersThatComeFirstDoNotHideThoseBehind) {
  fs::create_directory(path("aa"));
  EXPECT_EQ(faultOf(job("aa/1.nv12", R"(, "contact-sheet": "f_3.png")") + job("f_%d.png")),
            "2: " + path("f_3.png") + ": the job of line 1 writes it too");
}

TEST_F(JobListTest, NoJobMayReplaceAnInput) {
  EXPECT_EQ(faultOf(job("./b.nv12") + job("o.nv12", "", "b.nv12")),
            "2: " + path("b.nv12") + ": is an input here, and the job of line 1 would replace it");
  EXPECT_EQ(faultOf(job("o.nv12", "", "b.nv12") + job("b.nv12")),
            "1: " + path("b.nv12") + ": is an input here, and the job of line 2 would replace it");
  folder_.write("f_7.png", "");
  EXPECT_EQ(faultOf(job("o.nv12", "", "f_7.png") + job("f_%d.png")),
            "1: " + path("f_7.png") + ": is an input here, and the job of line 2 would replace it");
}

}  // namespace
}  // namespace segmask
