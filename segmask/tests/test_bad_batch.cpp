// Bad input to `segmask batch`.

#include <filesystem>

#include "tests/BadInput.h"

namespace {

/// A job that writes this file, from good input or another; `more` are further members, each after a comma.
std::string job(const std::string& output, const std::string& more = "",
                const std::string& input = "in.nv12") {
  return R"({"input": ")" + input + R"(", "size": "16x8", "detections": "good.jsonl", "output": ")" + output +
         "\"" + more + "}\n";
}

class BadBatch : public BadInput {
 protected:
  /// Runs a list of a good job and these lines. The list stays as it is.
  void list(const std::string& text, const Arguments& more = {}) const {
    Arguments all{"batch", folder_.write("jobs.jsonl", job("done.nv12") + text)};
    all.insert(all.end(), more.begin(), more.end());
    run(all);
    EXPECT_EQ(readFile(path("jobs.jsonl")), job("done.nv12") + text);
  }

  /// A list of the good job alone, with these words.
  void words(const Arguments& more) const { list("", more); }
};

TEST_F(BadBatch, ListMissing) {
  run({"batch", path("none.jsonl")});
}

TEST_F(BadBatch, ListEmpty) {
  for (const char* text : {"", "\n\n"}) run({"batch", folder_.write("jobs.jsonl", text)});
}

TEST_F(BadBatch, ListCutOff) {
  list(job("b.nv12").substr(0, 30));
}

TEST_F(BadBatch, LineThatIsNoObject) {
  list("[]");
}

TEST_F(BadBatch, MemberUnknown) {
  list(job("b.nv12", R"(, "summary-json": "s.json")"));
}

TEST_F(BadBatch, MemberMisspelt) {
  list(job("b.nv12", R"(, "look-back": 1)"));
}

TEST_F(BadBatch, MemberMissing) {
  list(R"({"input": "in.nv12", "detections": "good.jsonl"})");
}

TEST_F(BadBatch, FlagThatIsNone) {
  list(job("b.nv12", R"(, "strict": "yes")"));
}

TEST_F(BadBatch, ValueThatIsNone) {
  list(job("b.nv12", R"(, "lookback": -1)"));
}

TEST_F(BadBatch, ConfigThatIsNoObject) {
  list(job("b.nv12", R"(, "config": 1)"));
}

TEST_F(BadBatch, InputMissing) {
  list(job("b.nv12", "", "none.nv12"));
}

TEST_F(BadBatch, InputIsAFolder) {
  std::filesystem::create_directory(path("folder"));
  list(job("b.nv12", "", "folder"));
}

TEST_F(BadBatch, OutputInAMissingFolder) {
  list(job("none/b.nv12"));
}

TEST_F(BadBatch, OutputOfNoEnding) {
  list(job("b"));
}

TEST_F(BadBatch, OutputIsAStream) {
  list(job("-"));
}

TEST_F(BadBatch, TwoOfOneOutput) {
  list(job("./done.nv12"));
}

TEST_F(BadBatch, OutputIsTheInput) {
  list(job("in.nv12"));
}

TEST_F(BadBatch, OutputIsAnInputOfAnother) {
  std::filesystem::copy_file(path("in.nv12"), path("other.nv12"));
  list(job("b.nv12", "", "other.nv12") + job("other.nv12"));
}

TEST_F(BadBatch, ResultsAreTheList) {
  words({"--results", path("jobs.jsonl")});
}

TEST_F(BadBatch, ResultsAreAnInput) {
  for (const char* name : {"good.jsonl", "in.nv12"}) words({"--results", path(name)});
}

TEST_F(BadBatch, ResultsAreAnOutput) {
  for (const char* name : {"done.nv12", "done.nv12.segmask.json"}) words({"--results", path(name)});
}

TEST_F(BadBatch, JobsThatAreNone) {
  for (const char* count : {"0", "-1", "1.5", "all"}) words({std::string("--jobs=") + count});
}

TEST_F(BadBatch, RetriesThatAreNone) {
  for (const char* count : {"-1", "1.5", "all"}) words({std::string("--retries=") + count});
}

TEST_F(BadBatch, SplitThatIsNone) {
  for (const char* frames : {"0", "-1", "1.5", "all"}) words({std::string("--split=") + frames});
}

}  // namespace
