// Bad input in options: the frames and their size, outputs, the plug-in and its configuration, and the
// command line.

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "test_support/frames.h"
#include "tests/BadInput.h"

namespace fs = std::filesystem;

namespace {

using BadOptions = BadInput;

// ---- Raw frames and their size

TEST_F(BadOptions, InputMissing) {
  option("--input", path("none.nv12"));
}

TEST_F(BadOptions, InputEmpty) {
  option("--input", folder_.write("empty.nv12", ""));
}

TEST_F(BadOptions, InputPipeClosesWithinAFrame) {
  pipe("--input", "bad.nv12", flatFrames(kWidth, kHeight, 2) + std::string(100, 'x'));
}

TEST_F(BadOptions, InputPipeClosesAtOnce) {
  pipe("--input", "bad.nv12", "");
}

// The detections come from a pipe, so that the input is open when it shrinks, and not read yet.
TEST_F(BadOptions, InputShrinksWhileItIsRead) {
  pipe("--detections", "pipe.jsonl", kNothingFoundLine,
       [this] { fs::resize_file(path("in.nv12"), frameBytes(kWidth, kHeight) * 2 + 96); });
}

TEST_F(BadOptions, NoSize) {
  run({"render", "--input", path("in.nv12"), "--detections", path("good.jsonl"), "--output",
       path("out.nv12")});
}

TEST_F(BadOptions, SizeMalformed) {
  for (const char* size :
       {"", "16", "16x", "x8", "16x8x3", "16*8", "16X8", "16,8", "1.5x8", "16x 8", "-16x8", "wide"}) {
    option("--size", size);
  }
}

TEST_F(BadOptions, SizeOf0) {
  option("--size", "0x8");
  option("--size", "16x0");
}

TEST_F(BadOptions, SizeHuge) {
  option("--size", "100000x100000");
  option("--size", "65536x1");
  option("--size", "99999999999999999999x8");
}

TEST_F(BadOptions, SizeThatDoesNotFit) {
  option("--size", "16x9");
}

TEST_F(BadOptions, SizeThatIsOddAndDoesNotFit) {
  option("--size", "5x3");
}

TEST_F(BadOptions, SizeLargerThanTheFile) {
  option("--size", "65535x65535");
}

TEST_F(BadOptions, BothAreStandardInput) {
  run(rendering({{"--input", "-"}, {"--detections", "-"}}));
}

// ---- The part and the encoder

TEST_F(BadOptions, StartMalformed) {
  for (const char* start : {"", "-1", "x", "1:2:3:4", "1e3", "0x10", " 1"}) option("--start", start);
}

TEST_F(BadOptions, StartPastTheEnd) {
  option("--start", "6");
}

TEST_F(BadOptions, FramesBelow1) {
  option("--frames", "0");
}

TEST_F(BadOptions, FramesThatAreNoNumber) {
  for (const char* frames : {"", "-1", "1.5", "all"}) option("--frames", frames);
}

TEST_F(BadOptions, CrfOutOfRange) {
  for (const char* crf : {"52", "-1", "x", ".", "1.2.3", "nan"}) {
    run(rendering({{"--output", path("out.mp4")}, {"--crf", crf}}));
  }
}

TEST_F(BadOptions, PresetMisspelt) {
  run(rendering({{"--output", path("out.mp4")}, {"--preset", "veryfats"}}));
}

TEST_F(BadOptions, PresetUnknown) {
  run(rendering({{"--output", path("out.mp4")}, {"--preset", "best"}}));
}

TEST_F(BadOptions, EncoderOptionsOfRawFrames) {
  option("--crf", "20");
  option("--preset", "fast");
}

TEST_F(BadOptions, Y4mOfASizeThatNoPictureHas) {
  for (const char* size : {"W0 H0", "W99999 H99999"}) {
    run({"render", "--input", folder_.write("bad.y4m", std::string("YUV4MPEG2 ") + size + " F25:1\nFRAME\n"),
         "--detections", path("good.jsonl"), "--output", path("out.nv12")});
  }
}

// ---- Outputs

TEST_F(BadOptions, OutputIsAFolder) {
  fs::create_directory(path("folder.nv12"));
  option("--output", path("folder.nv12"));
}

TEST_F(BadOptions, OutputOfAnUnknownEnding) {
  option("--output", path("out.avi"));
}

TEST_F(BadOptions, OutputWithoutAnEnding) {
  option("--output", path("out"));
}

TEST_F(BadOptions, OutputIsTheInput) {
  fs::create_symlink(path("in.nv12"), path("link.nv12"));
  for (const char* name : {"in.nv12", "./in.nv12", "link.nv12"}) option("--output", path(name));
}

TEST_F(BadOptions, OutputIsTheDetections) {
  fs::create_hard_link(path("good.jsonl"), path("good.nv12"));
  option("--output", path("good.nv12"));
}

TEST_F(BadOptions, OutputExistsAndMayNotBeReplaced) {
  folder_.write("f_003.png", "old");
  words({"-n"});
  Arguments sequence = rendering({{"--output", path("f_%03d.png")}});
  sequence.push_back("-n");
  run(sequence);
}

TEST_F(BadOptions, SequenceWithoutANumber) {
  option("--output", path("out.png"));
}

TEST_F(BadOptions, SequenceHasTheInput) {
  folder_.write("f_0003.png", "x");
  run(rendering({{"--input", path("f_0003.png")}, {"--output", path("./f_%04d.png")}}));
}

TEST_F(BadOptions, OutputInAMissingFolder) {
  option("--output", path("none/out.nv12"));
}

TEST_F(BadOptions, OutputInAFolderWithoutPermission) {
  fs::create_directory(path("folder"));
  fs::permissions(path("folder"), fs::perms::owner_read | fs::perms::owner_exec);
  run(rendering({{"--output", path("folder/out.nv12")}}), giveUpPrivileges);
}

TEST_F(BadOptions, OutputIsADevice) {
  fs::create_symlink("/dev/full", path("full.nv12"));
  option("--output", path("full.nv12"));
}

TEST_F(BadOptions, OutputIsADeviceByName) {
  option("--output", "/dev/full");
}

TEST_F(BadOptions, OutputWithoutAName) {
  option("--output", "");
}

// A limit on the size of files fails a write just like a full disk, at a size that a test can choose. It is
// less than one frame as PNG.
TEST_F(BadOptions, OutputBeyondTheLimitOnFiles) {
  const std::string input = folder_.write("noise.nv12", noiseFrames(128, 96, 40));
  for (const char* name : {"full.nv12", "full.y4m", "full.mp4", "full.mkv", "full_%d.png"}) {
    run(rendering({{"--input", input}, {"--size", "128x96"}, {"--output", path(name)}}), [] {
      const rlimit limit{20'000, 20'000};
      setrlimit(RLIMIT_FSIZE, &limit);
    });
  }
}

TEST_F(BadOptions, OutputOnAFullDisk) {
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

TEST_F(BadOptions, StandardOutputFull) {
  run({"explain", "--size=16x8", "--detections", path("good.jsonl")},
      [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
}

TEST_F(BadOptions, ContactSheetThatIsNoPng) {
  option("--contact-sheet", path("sheet.jpg"));
}

TEST_F(BadOptions, ContactSheetIsTheDetections) {
  fs::create_hard_link(path("good.jsonl"), path("good.png"));
  option("--contact-sheet", path("good.png"));
}

TEST_F(BadOptions, ContactSheetInAMissingFolder) {
  option("--contact-sheet", path("none/sheet.png"));
}

TEST_F(BadOptions, SummaryInAMissingFolder) {
  option("--summary-json", path("none/s.json"));
}

TEST_F(BadOptions, SummaryIsAFolder) {
  fs::create_directory(path("folder"));
  option("--summary-json", path("folder"));
}

TEST_F(BadOptions, SummaryAndOutputOnStandardOutput) {
  run(rendering({{"--output", "-"}, {"--summary-json", "-"}}));
}

TEST_F(BadOptions, SummaryIsTheOutput) {
  option("--summary-json", path("out.nv12"));
}

TEST_F(BadOptions, SummaryIsTheInput) {
  option("--summary-json", path("in.nv12"));
}

TEST_F(BadOptions, SummaryIsTheDetections) {
  option("--summary-json", path("good.jsonl"));
}

TEST_F(BadOptions, SummaryIsTheContactSheet) {
  run(rendering({{"--summary-json", path("s.png")}, {"--contact-sheet", path("./s.png")}}));
}

TEST_F(BadOptions, ReportThatIsNoPage) {
  option("--report", path("report.pdf"));
}

TEST_F(BadOptions, ReportInAMissingFolder) {
  option("--report", path("none/r.html"));
}

TEST_F(BadOptions, ReportIsTheDetections) {
  fs::create_hard_link(path("good.jsonl"), path("good.html"));
  option("--report", path("good.html"));
}

TEST_F(BadOptions, ReportIsTheSummary) {
  run(rendering({{"--report", path("r.html")}, {"--summary-json", path("./r.html")}}));
}

// ---- The plug-in and its configuration

TEST_F(BadOptions, ConfigThatIsNoJson) {
  for (const char* config : {"", "{", "{\"alpha\": 0.5", "alpha=1", "{alpha: 1}", "{} x"})
    option("--config", config);
}

TEST_F(BadOptions, ConfigIsAFile) {
  option("--config", "config.json");
}

TEST_F(BadOptions, ConfigThatIsNoObject) {
  option("--config", "[1]");
  option("--config", "3");
}

TEST_F(BadOptions, ConfigKeyMisspelt) {
  option("--config", "{\"alhpa\": 1}");
}

TEST_F(BadOptions, ConfigValueOutOfRange) {
  option("--config", "{\"alpha\": 1.5}");
}

TEST_F(BadOptions, PluginMissing) {
  option("--plugin", path("none.so"));
}

TEST_F(BadOptions, PluginIsAFolder) {
  fs::create_directory(path("folder.so"));
  option("--plugin", path("folder.so"));
}

TEST_F(BadOptions, PluginThatIsNoLibrary) {
  option("--plugin", folder_.write("text.so", "no library\n"));
}

TEST_F(BadOptions, PluginWithoutAClass) {
  option("--plugin", libraryPath("libsw_core.so"));
}

TEST_F(BadOptions, PluginWithSeveralClasses) {
  option("--plugin", libraryPath("libsegmask_crowded_plugin.so"));
}

TEST_F(BadOptions, PluginThatThrows) {
  option("--plugin", libraryPath("libsegmask_throwing_plugin.so"));
}

TEST_F(BadOptions, PluginThatIsNotKnownWhenStrict) {
  words({"--strict", "--plugin", libraryPath("libsegmask_slow_plugin.so")});
}

// ---- The command line

TEST_F(BadOptions, NoCommand) {
  run({});
}

TEST_F(BadOptions, CommandMisspelt) {
  run({"rendr"});
}

TEST_F(BadOptions, OptionMissing) {
  run({"render", "--size", "16x8"});
}

TEST_F(BadOptions, OptionMisspelt) {
  words({"--look-back", "1"});
}

TEST_F(BadOptions, OptionWithoutItsValue) {
  words({"--lookback"});
}

TEST_F(BadOptions, OptionGivenTwice) {
  words({"--detections", path("good.jsonl")});
}

TEST_F(BadOptions, OverwritingAndNot) {
  words({"-y", "-n"});
}

TEST_F(BadOptions, WordTooMany) {
  words({"extra"});
}

TEST_F(BadOptions, LookbackThatIsNone) {
  for (const char* lookback : {"-1", "3.7", "many", ""}) option("--lookback", lookback);
}

TEST_F(BadOptions, LookbackBeyond63Bits) {
  for (const char* lookback : {"9223372036854775808", "99999999999999999999"}) option("--lookback", lookback);
}

TEST_F(BadOptions, FrameToExplainThatIsNone) {
  run({"explain", "--size=16x8", "--detections", path("good.jsonl"), "--frame", "last"});
}

TEST_F(BadOptions, FastBesideAPlugin) {
  words({"--fast", "--plugin", libraryPath("libsegmask_slow_plugin.so")});
}

TEST_F(BadOptions, StrictWithoutExplaining) {
  words({"--strict", "--no-explain"});
}

}  // namespace
