// Each test is a row of the table of bad input in docs/reliability.md, which has the message and the exit
// code that are expected here.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/bad_input_table.h"
#include "tests/run_tool.h"

namespace fs = std::filesystem;

namespace {

using Arguments = std::vector<std::string>;
using Options = std::map<std::string, std::string>;

constexpr int kWidth = 16;
constexpr int kHeight = 8;
constexpr int kFrames = 6;

void replaceAll(std::string& text, const std::string& part, const std::string& other) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += other.size()) {
    text.replace(at, part.size(), other);
  }
}

std::string utf16(const std::string& text, bool isLittle) {
  std::string wide;
  for (const char letter : text) wide += isLittle ? std::string{letter, '\0'} : std::string{'\0', letter};
  return wide;
}

std::string lineWith(const std::string& detections) {
  return R"({"frame": 1, "producer": "p", "detections": [)" + detections + "]}\n";
}

/// The superuser may read and write everywhere. Programs that are started later may not.
void giveUpPrivileges() {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

class BadInput : public ::testing::Test {
 protected:
  BadInput() {
    const ::testing::TestInfo* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    row_ = badInputRow(std::string(test->test_suite_name()) + "." + test->name());
    folder_.write("in.nv12", flatFrames(kWidth, kHeight, kFrames));
    folder_.write("good.jsonl", fullMaskLine(0, "p") + fullMaskLine(1, "p"));
    folder_.write("out.nv12", "old");
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  /// `segmask render` of good input, with these options in the place of its own or besides.
  Arguments rendering(const Options& changes) const {
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

  /// What the program said and how it ended are the row's, on one line. With exit code 2 nothing is left
  /// behind and what was there is as it was; with another one the output is written.
  void expectRow(const ToolResult& result, const std::vector<std::string>& before) const {
    std::string said = result.err;
    replaceAll(said, path(""), "");
    replaceAll(said, libraryPath(""), "");
    EXPECT_EQ(result.exitCode, row_.exitCode) << said;
    EXPECT_EQ(lineCount(said), 1U) << said;
    ASSERT_EQ(said.find("segmask: "), 0U) << said;
    ASSERT_EQ(said.back(), '\n');
    said = said.substr(9, said.size() - 10);
    EXPECT_TRUE(isMessage(row_, said)) << said << "\nis not: " << row_.message;
    EXPECT_EQ(folder_.names(), before);
    EXPECT_EQ(readFile(path("out.nv12")) == "old", row_.exitCode == 2);
    EXPECT_EQ(result.out.empty(), row_.exitCode == 2) << result.out;
  }

  void run(const Arguments& arguments, const std::function<void()>& prepare = {}) const {
    const std::vector<std::string> before = folder_.names();
    expectRow(runTool(arguments, prepare), before);
  }

  void option(const std::string& name, const std::string& value) const { run(rendering({{name, value}})); }

  /// These words after good options.
  void words(const Arguments& more) const {
    Arguments all = rendering({});
    all.insert(all.end(), more.begin(), more.end());
    run(all);
  }

  void detections(const std::string& text) const { option("--detections", folder_.write("bad.jsonl", text)); }

  /// A line with this mask, after a good one.
  void mask(const std::string& mask) const {
    detections(fullMaskLine(0, "p") + lineWith(R"({}, {"mask": )" + mask + "}"));
  }

  /// What is written into a pipe, which `name` is, while the program runs. `meanwhile` is called once it has
  /// opened the pipe, and before the first byte.
  void pipe(const std::string& option, const std::string& name, const std::string& bytes,
            const std::function<void()>& meanwhile = {}) const {
    ASSERT_EQ(mkfifo(path(name).c_str(), 0600), 0);
    const std::vector<std::string> before = folder_.names();
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

  TempFolder folder_;
  BadInputRow row_;
};

// ---- Detection files

TEST_F(BadInput, DetectionsMissing) {
  option("--detections", path("none.jsonl"));
}

TEST_F(BadInput, DetectionsAreAFolder) {
  fs::create_directory(path("folder"));
  option("--detections", path("folder"));
}

TEST_F(BadInput, DetectionsWithoutPermission) {
  fs::permissions(folder_.write("bad.jsonl", kNothingFoundLine), fs::perms::none);
  run(rendering({{"--detections", path("bad.jsonl")}}), giveUpPrivileges);
}

TEST_F(BadInput, DetectionsEmpty) {
  detections("");
}

TEST_F(BadInput, DetectionsCutOff) {
  detections(kNothingFoundLine + fullMaskLine(1, "p").substr(0, 30));
}

TEST_F(BadInput, DetectionsPipeClosesWithinALine) {
  pipe("--detections", "bad.jsonl", "{\"frame\": 0");
}

TEST_F(BadInput, DetectionsPipeClosesAtOnce) {
  pipe("--detections", "bad.jsonl", "");
}

TEST_F(BadInput, GzipCutOff) {
  const std::string lines = lineWith(std::string(10'000, ' '));
  gzFile packed = gzopen(path("whole.gz").c_str(), "wb");
  ASSERT_EQ(gzwrite(packed, lines.data(), static_cast<unsigned>(lines.size())),
            static_cast<int>(lines.size()));
  gzclose(packed);
  const std::string whole = readFile(path("whole.gz"));
  detections(whole.substr(0, whole.size() - 10));
}

TEST_F(BadInput, GzipDamaged) {
  detections("\x1F\x8B\x08 and nothing that gzip wrote");
}

TEST_F(BadInput, JsonArray) {
  detections("[\n" + kNothingFoundLine + "]\n");
}

TEST_F(BadInput, JsonOverSeveralLines) {
  detections("{\n  \"frame\": 0,\n  \"producer\": \"p\"\n}\n");
}

TEST_F(BadInput, Coco) {
  detections(R"({"info": {}, "images": [], "annotations": []})");
}

TEST_F(BadInput, CocoResults) {
  detections(R"([{"image_id": 1, "category_id": 2, "bbox": [1, 2, 3, 4]}])");
}

TEST_F(BadInput, Utf16LittleWithMark) {
  detections("\xFF\xFE" + utf16(kNothingFoundLine, true));
}

TEST_F(BadInput, Utf16BigWithMark) {
  detections("\xFE\xFF" + utf16(kNothingFoundLine, false));
}

TEST_F(BadInput, Utf16LittleWithoutMark) {
  detections(utf16(kNothingFoundLine, true));
}

TEST_F(BadInput, Utf16BigWithoutMark) {
  detections(utf16(kNothingFoundLine, false));
}

TEST_F(BadInput, Utf16Array) {
  detections(utf16("[" + kNothingFoundLine + "]", true));
}

TEST_F(BadInput, TextThatIsNoJson) {
  detections("frame,x,y,w,h\n0,1,2,3,4\n");
}

TEST_F(BadInput, Zip) {
  detections("PK\x03\x04\x14");
}

TEST_F(BadInput, ALineOf300MiB) {
  const std::string file = folder_.write("bad.jsonl", kNothingFoundLine);
  fs::resize_file(file, std::uintmax_t{300} << 20);  // zeros, which take no room on the disk
  run(rendering({{"--detections", file}}));
#ifndef SEG_MASK_FOREIGN_MEMORY
  // The longest line that is read has 256 MiB; when it grows it is there twice.
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  EXPECT_LT(usage.ru_maxrss, 600 << 10) << "KiB";
#endif
}

TEST_F(BadInput, NestedWithoutEnd) {
  detections("{\"frame\": " + std::string(200'000, '[') + "\n");
}

TEST_F(BadInput, NestedTooDeepForANumber) {
  detections("{\"frame\": " + std::string(200'000, '[') + std::string(200'000, ']') +
             ", \"producer\": \"p\"}\n");
}

TEST_F(BadInput, NotANumber) {
  detections(lineWith("{\"score\": NaN}"));
}

TEST_F(BadInput, Infinity) {
  detections(lineWith("{\"score\": -Infinity}"));
}

TEST_F(BadInput, SingleQuotes) {
  detections("{'frame': 0, 'producer': 'p'}\n");
}

TEST_F(BadInput, TwoObjectsOnALine) {
  detections(R"({"frame": 0, "producer": "p"} {"frame": 1, "producer": "p"})");
}

TEST_F(BadInput, ControlBytes) {
  detections("{\"a\": \x1b[2J\r}\n");
}

TEST_F(BadInput, LineThatIsNoObject) {
  detections(kNothingFoundLine + "\n[1]\n");
}

TEST_F(BadInput, NoFrame) {
  detections(R"({"producer": "p"})");
}

TEST_F(BadInput, FrameThatIsNoNumber) {
  for (const char* frame : {"\"0\"", "1.5", "-1", "null", "true"}) {
    detections(R"({"producer": "p", "frame": )" + std::string(frame) + "}");
  }
}

TEST_F(BadInput, FrameBeyond64Bits) {
  detections(R"({"frame": 99999999999999999999, "producer": "p"})");
}

TEST_F(BadInput, NoProducer) {
  detections(R"({"frame": 0})");
}

TEST_F(BadInput, ProducerThatIsNoName) {
  for (const char* producer : {"\"\"", "7", "null"}) {
    detections(R"({"frame": 0, "producer": )" + std::string(producer) + "}");
  }
}

TEST_F(BadInput, DetectionsThatAreNoArray) {
  detections(R"({"frame": 0, "producer": "p", "detections": {}})");
}

// Late, when frames have been drawn and written.
TEST_F(BadInput, FramesOutOfOrder) {
  detections(fullMaskLine(0, "p") + fullMaskLine(4, "p") + fullMaskLine(2, "p"));
}

TEST_F(BadInput, FramesPastTheEnd) {
  detections(fullMaskLine(5, "p") + fullMaskLine(6, "p"));
}

TEST_F(BadInput, FramesPastTheEndWhenStrict) {
  Arguments arguments = rendering({{"--detections", folder_.write("bad.jsonl", fullMaskLine(6, "p"))}});
  arguments.emplace_back("--strict");
  run(arguments);
}

TEST_F(BadInput, FramesCountedFrom1) {
  detections(fullMaskLine(1, "p"));
}

// ---- Compact masks

TEST_F(BadInput, MaskBesideText) {
  detections(lineWith(R"({"class_info": "SEG1|1|1|AQ==", "mask": {"size": [1, 1], "counts": [1]}})"));
}

TEST_F(BadInput, MaskThatIsNoObject) {
  mask("\"SEG1|1|1|AQ==\"");
}

TEST_F(BadInput, MaskOfNoForm) {
  mask("{\"size\": [2, 2], \"rle\": [4]}");
}

TEST_F(BadInput, CountsWithoutSize) {
  mask("{\"counts\": [4]}");
}

TEST_F(BadInput, SizeThatIsNone) {
  for (const char* size : {"4", "[4]", "[2, 2, 1]", "[2.5, 2]", "[0, 4]", "[-2, -2]", "[2147483648, 1]"}) {
    mask("{\"counts\": [4], \"size\": " + std::string(size) + "}");
  }
}

TEST_F(BadInput, SizeBeyondTheLargest) {
  mask(R"({"size": [2147483647, 2147483647], "counts": [1]})");
  mask(R"({"size": [16385, 16384], "counts": [1]})");
}

TEST_F(BadInput, CountsThatAreNone) {
  for (const char* counts : {"4", "{}", "[4.5]", "[\"4\"]", "[null]"}) {
    mask("{\"size\": [2, 2], \"counts\": " + std::string(counts) + "}");
  }
}

TEST_F(BadInput, CountsTooMany) {
  mask(R"({"size": [2, 2], "counts": [1, 4]})");
  mask(R"({"size": [2, 2], "counts": "14"})");
}

TEST_F(BadInput, CountsTooFew) {
  mask(R"({"size": [2, 2], "counts": [1, 2]})");
  mask(R"({"size": [2, 2], "counts": []})");
  mask(R"({"size": [2, 2], "counts": ""})");
}

TEST_F(BadInput, CountsThatWrap) {
  mask(R"({"size": [2, 2], "counts": [9223372036854775807, 9223372036854775807, 6]})");
}

TEST_F(BadInput, CountsBelow0) {
  mask(R"({"size": [2, 2], "counts": [-1, 5]})");
}

TEST_F(BadInput, CompressedCountsBelow0) {
  mask(R"({"size": [2, 2], "counts": "O5"})");
}

TEST_F(BadInput, CompressedCountsWithForeignCharacters) {
  for (const char* counts : {"1 3", "1!", "1\xC3\xA9", "13~"}) {
    mask(R"({"size": [2, 2], "counts": ")" + std::string(counts) + "\"}");
  }
}

TEST_F(BadInput, CompressedCountsCutOff) {
  mask(R"({"size": [2, 2], "counts": "1P"})");
}

TEST_F(BadInput, CompressedCountsBeyond60Bits) {
  mask(R"({"size": [2, 2], "counts": "oooooooooooooooo0"})");
}

TEST_F(BadInput, PlaceThatIsNone) {
  for (const char* at :
       {"[0, 0, 0, 4]", "[0, 0, 4, 0]", "[0, 0, -4, 4]", "[0, 0, 4]", "[0.5, 0, 4, 4]", "\"0\""}) {
    mask(R"({"size": [2, 2], "counts": [4], "at": )" + std::string(at) + "}");
  }
}

TEST_F(BadInput, PolygonThatIsNone) {
  for (const char* polygon : {"[]", "[[]]", "[0, 0, 1, 0, 1, 1]", "[[0, 0, 1, 1]]", "[[0, 0, 1, 0, 1, 1, 2]]",
                              "[[[0, 0], [1, 0], [1, 1]]]", "[[0, 0, 1, 0, 1, null]]", "\"0 0 1 1\""}) {
    mask("{\"polygon\": " + std::string(polygon) + "}");
  }
}

TEST_F(BadInput, PolygonFarAway) {
  mask(R"({"polygon": [[0, 0, 268435457, 0, 1, -1e300]]})");
}

TEST_F(BadInput, NumberBeyondAllDoubles) {
  mask(R"({"polygon": [[0, 0, 1, -1e999, 1, 1]]})");
}

TEST_F(BadInput, PolygonBesideAnotherForm) {
  for (const char* more : {"\"at\": [0, 0, 1, 1]", "\"size\": [2, 2]", "\"counts\": [4]"}) {
    mask(R"({"polygon": [[0, 0, 1, 0, 1, 1]], )" + std::string(more) + "}");
  }
}

TEST_F(BadInput, MasksTooLargeTogether) {
  const std::string largest = R"({"mask": {"size": [16384, 16384], "counts": [268435456]}})";
  std::string all = largest;
  for (int i = 0; i < 32; ++i) all += "," + largest;
  detections(lineWith(all));
}

TEST_F(BadInput, PolygonsInFramesBeyondTheLargest) {
  const std::string line = lineWith(R"({"mask": {"polygon": [[0, 0, 1, 0, 1, 1]]}})");
  run({"explain", "--size", "65535x65535", "--detections", folder_.write("bad.jsonl", line)});
}

// ---- Raw frames and their size

TEST_F(BadInput, InputMissing) {
  option("--input", path("none.nv12"));
}

TEST_F(BadInput, InputEmpty) {
  option("--input", folder_.write("empty.nv12", ""));
}

TEST_F(BadInput, InputPipeClosesWithinAFrame) {
  pipe("--input", "bad.nv12", flatFrames(kWidth, kHeight, 2) + std::string(100, 'x'));
}

TEST_F(BadInput, InputPipeClosesAtOnce) {
  pipe("--input", "bad.nv12", "");
}

// The detections come from a pipe, so that the input is open when it shrinks, and not read yet.
TEST_F(BadInput, InputShrinksWhileItIsRead) {
  pipe("--detections", "pipe.jsonl", kNothingFoundLine,
       [this] { fs::resize_file(path("in.nv12"), frameBytes(kWidth, kHeight) * 2 + 96); });
}

TEST_F(BadInput, NoSize) {
  run({"render", "--input", path("in.nv12"), "--detections", path("good.jsonl"), "--output",
       path("out.nv12")});
}

TEST_F(BadInput, SizeMalformed) {
  for (const char* size :
       {"", "16", "16x", "x8", "16x8x3", "16*8", "16X8", "16,8", "1.5x8", "16x 8", "-16x8", "wide"}) {
    option("--size", size);
  }
}

TEST_F(BadInput, SizeOf0) {
  option("--size", "0x8");
  option("--size", "16x0");
}

TEST_F(BadInput, SizeHuge) {
  option("--size", "100000x100000");
  option("--size", "65536x1");
  option("--size", "99999999999999999999x8");
}

TEST_F(BadInput, SizeThatDoesNotFit) {
  option("--size", "16x9");
}

TEST_F(BadInput, SizeThatIsOddAndDoesNotFit) {
  option("--size", "5x3");
}

TEST_F(BadInput, SizeLargerThanTheFile) {
  option("--size", "65535x65535");
}

// ---- Outputs

TEST_F(BadInput, OutputIsAFolder) {
  fs::create_directory(path("folder.nv12"));
  option("--output", path("folder.nv12"));
}

TEST_F(BadInput, OutputOfAnUnknownEnding) {
  option("--output", path("out.avi"));
}

TEST_F(BadInput, OutputWithoutAnEnding) {
  option("--output", path("out"));
}

TEST_F(BadInput, OutputIsTheInput) {
  fs::create_symlink(path("in.nv12"), path("link.nv12"));
  for (const char* name : {"in.nv12", "./in.nv12", "link.nv12"}) option("--output", path(name));
}

TEST_F(BadInput, OutputIsTheDetections) {
  fs::create_hard_link(path("good.jsonl"), path("good.nv12"));
  option("--output", path("good.nv12"));
}

TEST_F(BadInput, OutputInAMissingFolder) {
  option("--output", path("none/out.nv12"));
}

TEST_F(BadInput, OutputInAFolderWithoutPermission) {
  fs::create_directory(path("folder"));
  fs::permissions(path("folder"), fs::perms::owner_read | fs::perms::owner_exec);
  run(rendering({{"--output", path("folder/out.nv12")}}), giveUpPrivileges);
}

TEST_F(BadInput, OutputIsADevice) {
  fs::create_symlink("/dev/full", path("full.nv12"));
  option("--output", path("full.nv12"));
}

TEST_F(BadInput, OutputBeyondTheLimitOnFiles) {
  run(rendering({{"--output", path("full.nv12")}}), [] {
    const rlimit limit{1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
  });
}

TEST_F(BadInput, OutputOnAFullDisk) {
  fs::create_directory(path("disk"));
  const std::string frames = folder_.write("large.nv12", flatFrames(kWidth, kHeight, 100));
  const bool isOurs =
      unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  if (!isOurs || mount("none", path("disk").c_str(), "tmpfs", 0, "size=8k") != 0) {
    GTEST_SKIP() << "only the superuser may mount a small disk";
  }
  run(rendering({{"--input", frames}, {"--output", path("disk/full.nv12")}}));
  EXPECT_TRUE(fs::is_empty(path("disk")));
  EXPECT_EQ(umount(path("disk").c_str()), 0);
}

TEST_F(BadInput, StandardOutputFull) {
  run({"explain", "--size=16x8", "--detections", path("good.jsonl")},
      [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
}

TEST_F(BadInput, ContactSheetThatIsNoPng) {
  option("--contact-sheet", path("sheet.jpg"));
}

TEST_F(BadInput, ContactSheetIsTheDetections) {
  fs::create_hard_link(path("good.jsonl"), path("good.png"));
  option("--contact-sheet", path("good.png"));
}

TEST_F(BadInput, ContactSheetInAMissingFolder) {
  option("--contact-sheet", path("none/sheet.png"));
}

TEST_F(BadInput, SummaryInAMissingFolder) {
  option("--summary-json", path("none/s.json"));
}

TEST_F(BadInput, SummaryIsAFolder) {
  fs::create_directory(path("folder"));
  option("--summary-json", path("folder"));
}

TEST_F(BadInput, SummaryIsTheOutput) {
  option("--summary-json", path("out.nv12"));
}

TEST_F(BadInput, SummaryIsTheInput) {
  option("--summary-json", path("in.nv12"));
}

TEST_F(BadInput, SummaryIsTheDetections) {
  option("--summary-json", path("good.jsonl"));
}

TEST_F(BadInput, SummaryIsTheContactSheet) {
  run(rendering({{"--summary-json", path("s.png")}, {"--contact-sheet", path("./s.png")}}));
}

// ---- The plug-in and its configuration

TEST_F(BadInput, ConfigThatIsNoJson) {
  for (const char* config : {"", "{", "{\"alpha\": 0.5", "alpha=1", "{alpha: 1}", "{} x"})
    option("--config", config);
}

TEST_F(BadInput, ConfigIsAFile) {
  option("--config", "config.json");
}

TEST_F(BadInput, ConfigThatIsNoObject) {
  option("--config", "[1]");
  option("--config", "3");
}

TEST_F(BadInput, ConfigKeyMisspelt) {
  option("--config", "{\"alhpa\": 1}");
}

TEST_F(BadInput, ConfigValueOutOfRange) {
  option("--config", "{\"alpha\": 1.5}");
}

TEST_F(BadInput, PluginMissing) {
  option("--plugin", path("none.so"));
}

TEST_F(BadInput, PluginIsAFolder) {
  fs::create_directory(path("folder.so"));
  option("--plugin", path("folder.so"));
}

TEST_F(BadInput, PluginThatIsNoLibrary) {
  option("--plugin", folder_.write("text.so", "no library\n"));
}

TEST_F(BadInput, PluginWithoutAClass) {
  option("--plugin", libraryPath("libsw_core.so"));
}

TEST_F(BadInput, PluginWithSeveralClasses) {
  option("--plugin", libraryPath("libsegmask_crowded_plugin.so"));
}

TEST_F(BadInput, PluginThatThrows) {
  option("--plugin", libraryPath("libsegmask_throwing_plugin.so"));
}

TEST_F(BadInput, PluginThatIsNotKnownWhenStrict) {
  words({"--strict", "--plugin", libraryPath("libsegmask_slow_plugin.so")});
}

// ---- The command line

TEST_F(BadInput, NoCommand) {
  run({});
}

TEST_F(BadInput, CommandMisspelt) {
  run({"rendr"});
}

TEST_F(BadInput, OptionMissing) {
  run({"render", "--size", "16x8"});
}

TEST_F(BadInput, OptionMisspelt) {
  words({"--look-back", "1"});
}

TEST_F(BadInput, OptionWithoutItsValue) {
  words({"--lookback"});
}

TEST_F(BadInput, OptionGivenTwice) {
  words({"--detections", path("good.jsonl")});
}

TEST_F(BadInput, WordTooMany) {
  words({"extra"});
}

TEST_F(BadInput, LookbackThatIsNone) {
  for (const char* lookback : {"-1", "3.7", "many", "", "99999999999999999999"})
    option("--lookback", lookback);
}

TEST_F(BadInput, FrameToExplainThatIsNone) {
  run({"explain", "--size=16x8", "--detections", path("good.jsonl"), "--frame", "last"});
}

TEST_F(BadInput, FastBesideAPlugin) {
  words({"--fast", "--plugin", libraryPath("libsegmask_slow_plugin.so")});
}

TEST_F(BadInput, StrictWithoutExplaining) {
  words({"--strict", "--no-explain"});
}

}  // namespace
