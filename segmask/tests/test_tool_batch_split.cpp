// `segmask batch --split`: what comes of pieces is what a job of one process gives.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "core/SwJsonDocument.h"
#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "test_support/media.h"
#include "tests/run_tool.h"
#include "video/FrameReader.h"
#include "video/libav_handles.h"

namespace fs = std::filesystem;

namespace {

constexpr int kFrames = 7;
constexpr int kWidth = 64;
constexpr int kHeight = 48;

SwJsonObject objectOf(const std::string& text) {
  SwJsonDocument document;
  SwString error;
  EXPECT_TRUE(document.loadFromJson(text, error)) << error.str() << ": " << text;
  return document.object();
}

struct DecodedFrame {
  int64_t pts;
  std::vector<unsigned char> bytes;

  bool operator==(const DecodedFrame& other) const { return pts == other.pts && bytes == other.bytes; }
};

std::vector<DecodedFrame> framesOf(const std::string& path) {
  const std::unique_ptr<segmask::FrameReader> reader = segmask::openFrameReader(path, std::nullopt);
  std::vector<DecodedFrame> frames;
  for (segmask::Frame frame; reader->next(frame);) frames.push_back({frame.pts, frame.nv12});
  EXPECT_EQ(reader->warning(), "");
  return frames;
}

/// The times at which a player decodes the packets of the video, in the file's order.
std::vector<int64_t> decodingTimes(const std::string& path) {
  AVFormatContext* context = nullptr;
  if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) != 0) throw std::runtime_error(path);
  const segmask::InputPtr input(context);
  const segmask::AVPacketPtr packet = segmask::makeAVPacket();
  std::vector<int64_t> times;
  for (; av_read_frame(input.get(), packet.get()) == 0; av_packet_unref(packet.get())) {
    if (packet->stream_index == 0) times.push_back(packet->dts);
  }
  return times;
}

class ToolBatchSplit : public ::testing::Test {
 protected:
  ToolBatchSplit() {
    fs::create_directory(path("out"));
    fs::create_directory(path("whole"));
    folder_.write("in.nv12", noiseFrames(kWidth, kHeight, kFrames));
    // With look-back 2 each of frames 1 to 6 shows one that was sent earlier, and the producers' order is
    // that of frame 0.
    folder_.write("d.jsonl", boxLine(0, "late", 3) + boxLine(0, "p", 5) + boxLine(2, "p", 9) +
                                 boxLine(3, "late", 20) + boxLine(5, "q", 2));
  }

  static std::string boxLine(int frame, const std::string& producer, int x) {
    const std::string number = std::to_string(frame);
    return R"({"frame": )" + number + R"(, "producer": ")" + producer + R"(", "detections": [{"x": )" +
           std::to_string(x) + R"(, "y": )" + number + R"(, "w": 30, "h": 20, "class_id": )" +
           std::to_string(x) +
           R"(, "score": 0.9, "class_info": "SEG1|1|1|AQ=="}, {"x": 1, "y": 1, "w": 0, "h": 0}]})" + "\n";
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  /// A list of one job, whose output is FOLDER/NAME; `more` are further members, each after a comma.
  std::string list(const std::string& folder, const std::string& name, const std::string& more) const {
    const bool isRaw = input_ == "in.nv12";
    const bool isPicture = input_ == "in.png";
    return folder_.write(folder + ".jsonl", R"({"input": ")" + input_ +
                                                R"(", "detections": "d.jsonl", "output": ")" + folder + "/" +
                                                name + "\"" + (isRaw ? R"(, "size": "64x48")" : "") +
                                                (isPicture ? "" : R"(, "lookback": 2)") + more + "}\n");
  }

  static ToolResult batch(const std::string& list, const std::vector<std::string>& more) {
    std::vector<std::string> arguments{"batch", list, "--no-progress"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }

  /// Does the job in pieces of that many frames and as a whole, and compares what is told of it. Returns how
  /// many processes the pieces took.
  int64_t expectSame(const std::string& name, int split, const std::string& more = "") const {
    const ToolResult pieces = batch(list("out", name, more), {"--split", std::to_string(split), "--redo"});
    const ToolResult whole = batch(list("whole", name, more), {"--redo"});
    EXPECT_EQ(pieces.exitCode, whole.exitCode) << pieces.err << whole.err;
    SwJsonObject result = objectOf(pieces.out);
    SwJsonObject expected = objectOf(whole.out);
    const int64_t processes = result["attempts"].integer();
    for (const char* const own : {"attempts", "seconds", "output"}) {
      result.remove(own);
      expected.remove(own);
    }
    EXPECT_EQ(result, expected) << pieces.out << whole.out;
    if (fs::exists(path("whole/" + name + ".segmask.json"))) {
      EXPECT_EQ(summaryOf("out/" + name), summaryOf("whole/" + name));
    }
    EXPECT_EQ(namesIn("out"), namesIn("whole"));
    return processes;
  }

  SwJsonObject summaryOf(const std::string& output) const {
    SwJsonObject summary = *objectOf(readFile(path(output + ".segmask.json")))["summary"].object();
    summary.remove("render_ms");
    return summary;
  }

  std::vector<std::string> namesIn(const std::string& folder) const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path(folder))) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void expectSameBytes() const {
    for (const std::string& name : namesIn("whole")) {
      const std::string ending = fs::path(name).extension().string();
      if (ending == ".json" || ending == ".mp4" || ending == ".mkv") continue;
      EXPECT_TRUE(readFile(path("out/" + name)) == readFile(path("whole/" + name))) << name;
    }
  }

  /// When the frames of a video are shown.
  std::vector<int64_t> timesOf(const std::string& video) const {
    std::vector<int64_t> times;
    for (const DecodedFrame& frame : framesOf(path(video))) times.push_back(frame.pts);
    EXPECT_EQ(times.size(), std::size_t{kFrames});
    return times;
  }

  /// Writes a video and makes it the input: frames come at rising distances, and the first not at 0.
  void makeInput(const std::string& name, const std::string& encoder, bool withSound = false) {
    MediaFile file;
    file.video.encoder = encoder;
    if (encoder == "mjpeg") file.video.pixelFormat = AV_PIX_FMT_YUVJ420P;
    file.video.frames = kFrames;
    file.video.pts = [](int frame) { return int64_t{frame} * frame + 7; };
    file.video.fill = [](int number, AVFrame& frame) {
      for (int row = 0; row < kHeight; ++row) {
        std::fill_n(frame.data[0] + row * frame.linesize[0], kWidth,
                    static_cast<uint8_t>(20 + 29 * number + row));
      }
    };
    if (withSound) file.sounds.push_back({"aac", 2.5, 0, ""});
    writeMedia(path(name), file);
    input_ = name;
  }

  TempFolder folder_;
  std::string input_ = "in.nv12";
};

TEST_F(ToolBatchSplit, RawFramesAreThoseOfTheWholeWhereverTheCutsAre) {
  // A process to plan, one for each piece, and one to join; the whole where it has no more frames than that.
  EXPECT_EQ(expectSame("a.nv12", 1), 9);
  expectSameBytes();
  EXPECT_EQ(expectSame("a.nv12", 3), 5);
  expectSameBytes();
  EXPECT_EQ(expectSame("a.nv12", 6), 4);
  expectSameBytes();
  EXPECT_EQ(expectSame("a.nv12", 7), 1);
  expectSameBytes();
}

TEST_F(ToolBatchSplit, PartsOfAVideoAreSplitToo) {
  EXPECT_EQ(expectSame("a.nv12", 2, R"(, "start": 1, "frames": 4)"), 4);
  expectSameBytes();
  EXPECT_EQ(expectSame("b.nv12", 2, R"(, "start": "0.1s", "frames": 100)"), 4);
  expectSameBytes();
  makeInput("in.mkv", "mpeg4");
  EXPECT_EQ(expectSame("c.nv12", 2, R"(, "start": "0.1s")"), 5);
  expectSameBytes();
}

TEST_F(ToolBatchSplit, Y4mHasOneHeaderAndImagesGoOnCounting) {
  EXPECT_EQ(expectSame("a.y4m", 3), 5);
  EXPECT_EQ(expectSame("f_%02d.png", 4), 4);
  expectSameBytes();
}

TEST_F(ToolBatchSplit, VideosHaveTheWholesFramesTimesAndSound) {
  makeInput("in.mkv", "mpeg4", true);
  for (const char* const name : {"a.mp4", "a.mkv"}) {
    for (const int split : {1, 3}) {
      // Lossless, so that frames that went into the encoder alike come out alike.
      expectSame(name, split, R"(, "crf": 0)");
      const std::string joined = path(std::string("out/") + name);
      const std::string whole = path(std::string("whole/") + name);
      const std::vector<DecodedFrame> frames = framesOf(joined);
      EXPECT_EQ(frames.size(), std::size_t{kFrames});
      EXPECT_TRUE(frames == framesOf(whole)) << name << " " << split;
      const std::vector<MediaTrack> tracks = tracksOf(joined);
      const std::vector<MediaTrack> expected = tracksOf(whole);
      ASSERT_EQ(tracks.size(), 2U);
      EXPECT_EQ(tracks[0].end, expected[0].end);
      EXPECT_EQ(tracks[1].packets, expected[1].packets);
      EXPECT_EQ(tracks[1].times, expected[1].times);
    }
  }
}

/// The encoder's own times of decoding would go back at the cut, because the distances of frames grow.
TEST_F(ToolBatchSplit, DecodingTimesRiseOverTheCuts) {
  makeInput("in.mkv", "mpeg4");
  for (const int split : {1, 4}) {
    expectSame("a.mp4", split);
    const std::vector<int64_t> times = decodingTimes(path("out/a.mp4"));
    EXPECT_EQ(times.size(), std::size_t{kFrames});
    EXPECT_TRUE(std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()) == times.end());
    EXPECT_EQ(timesOf("out/a.mp4"), timesOf("whole/a.mp4"));
  }
}

TEST_F(ToolBatchSplit, SoundBeginsAndEndsWithAPartOfAVideo) {
  makeInput("in.mkv", "mpeg4", true);
  expectSame("a.mp4", 2, R"(, "crf": 0, "start": 2, "frames": 3)");
  EXPECT_TRUE(framesOf(path("out/a.mp4")) == framesOf(path("whole/a.mp4")));
  const MediaTrack sound = tracksOf(path("out/a.mp4"))[1];
  EXPECT_EQ(sound.packets, tracksOf(path("whole/a.mp4"))[1].packets);
  EXPECT_EQ(sound.times, tracksOf(path("whole/a.mp4"))[1].times);
}

TEST_F(ToolBatchSplit, DecodingThatBeginsAtALaterFrameGivesTheSameFrames) {
  // Every frame is coded by itself.
  makeInput("in.mov", "mjpeg");
  EXPECT_EQ(expectSame("a.nv12", 2), 6);
  expectSameBytes();
  // What was joined of pieces of two frames has an IDR picture at each.
  for (const char* const name : {"b.mp4", "c.mkv"}) {
    EXPECT_EQ(expectSame(name, 2), 6);
    input_ = std::string("out/") + name;
    EXPECT_EQ(expectSame("d.nv12", 3), 5);
    expectSameBytes();
    makeInput("in.mov", "mjpeg");
  }
}

TEST_F(ToolBatchSplit, ADamagedVideoHasTheWholesFramesAndDamage) {
  for (const char* const encoder : {"mjpeg", "mpeg4"}) {
    makeInput("in.avi", encoder);
    std::string bytes = readFile(path("in.avi"));
    const std::size_t begin = bytes.find("movi");
    ASSERT_NE(begin, std::string::npos);
    const std::size_t middle = begin + (bytes.size() - begin) / 2;
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(middle), 40, '\x55');
    folder_.write("in.avi", bytes);
    expectSame("a.nv12", 2, R"(, "strict": true)");
    expectSameBytes();
  }
}

TEST_F(ToolBatchSplit, DamagedSoundIsCountedOnce) {
  makeInput("in.ts", "mpeg2video", true);
  folder_.write("in.ts", withDamagedSound(readFile(path("in.ts"))));
  EXPECT_GT(expectSame("a.mp4", 2, R"(, "strict": true, "crf": 0)"), 1);
  EXPECT_EQ(summaryOf("out/a.mp4")["damaged"].integer(), 1);
  EXPECT_EQ(tracksOf(path("out/a.mp4"))[1].packets, tracksOf(path("whole/a.mp4"))[1].packets);
}

TEST_F(ToolBatchSplit, TimesThatJumpBackGoOnAsInTheWhole) {
  makeInput("in.ts", "libx264", true);
  const std::string once = readFile(path("in.ts"));
  folder_.write("in.ts", once + once);
  // One warning, and no piece begins by the index.
  EXPECT_EQ(expectSame("a.mp4", 4, R"(, "crf": 0)"), 6);
  const std::vector<MediaTrack> tracks = tracksOf(path("out/a.mp4"));
  EXPECT_EQ(tracks[0].packets.size(), std::size_t{2 * kFrames});
  EXPECT_TRUE(framesOf(path("out/a.mp4")) == framesOf(path("whole/a.mp4")));
  EXPECT_EQ(tracks[1].packets, tracksOf(path("whole/a.mp4"))[1].packets);
  EXPECT_EQ(tracks[1].times, tracksOf(path("whole/a.mp4"))[1].times);
}

TEST_F(ToolBatchSplit, TitlesAndChaptersAreThoseOfTheWhole) {
  MediaFile file;
  file.texts = {{"title", "Harbour"}};
  file.chapters = {{0, 0.1, "Out"}, {0.1, 0.2, "Round"}, {0.2, 0.4, "Back"}};
  writeMedia(path("in.mkv"), file);
  input_ = "in.mkv";
  for (const char* const part : {"", R"(, "start": 3, "frames": 5)"}) {
    EXPECT_GT(expectSame("a.mkv", 2, part), 1);
    const MediaTexts texts = textsOf(path("out/a.mkv"));
    EXPECT_EQ(texts.file.at("title"), "Harbour");
    EXPECT_EQ(texts.chapters, textsOf(path("whole/a.mkv")).chapters);
    EXPECT_EQ(texts.chapters.size(), part[0] == 0 ? 3U : 2U);
  }
}

TEST_F(ToolBatchSplit, LinesPastTheEndAndFaultsAreToldOnce) {
  folder_.write("d.jsonl", boxLine(1, "p", 3) + boxLine(6, "p", 900) + boxLine(9, "p", 3));
  EXPECT_EQ(expectSame("a.nv12", 2, R"(, "strict": true, "config": {"alfa": 1})"), 6);
  expectSameBytes();
}

TEST_F(ToolBatchSplit, AJobWithOnePieceThatFailsFailsAsTheWholeDoes) {
  folder_.write("d.jsonl", boxLine(0, "p", 3) + boxLine(5, "p", 3) + "{}\n");
  expectSame("a.nv12", 2);
  EXPECT_EQ(namesIn("out"), std::vector<std::string>{});
}

TEST_F(ToolBatchSplit, PicturesAndContactSheetsAreDrawnAsAWhole) {
  EXPECT_EQ(expectSame("a.nv12", 2, R"(, "contact-sheet": "sheet.png")"), 1);
  writePicture(path("in.png"), [] {
    MediaVideo picture;
    picture.encoder = "png";
    picture.pixelFormat = AV_PIX_FMT_RGB24;
    picture.frames = 1;
    return picture;
  }());
  input_ = "in.png";
  EXPECT_EQ(expectSame("b.png", 1), 1);
}

TEST_F(ToolBatchSplit, AJobThatIsDoneIsSkippedHoweverItIsSplit) {
  const std::string jobs = list("out", "a.nv12", "");
  EXPECT_EQ(objectOf(batch(jobs, {"--split", "2"}).out)["status"].text(), "done");
  EXPECT_EQ(objectOf(batch(jobs, {}).out)["status"].text(), "skipped");
  fs::last_write_time(path("in.nv12"), fs::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_EQ(objectOf(batch(jobs, {"--split", "3"}).out)["status"].text(), "skipped");
}

/// Jobs whose pieces stop in their first frames until they are let go.
class ToolBatchSplitHeld : public ToolBatchSplit {
 protected:
  ToolBatchSplitHeld() {
    folder_.write("hold", "");
    jobs_ = list("out", "a.nv12",
                 R"(, "plugin": ")" + libraryPath("libsegmask_held_plugin.so") +
                     R"(", "config": {"hold": ")" + path("hold") + R"("})");
    out_ = create("stdout");
    err_ = create("stderr");
  }

  pid_t start() const {
    return startTool({"batch", jobs_, "--no-progress", "--split", "2", "--jobs", "2"}, out_.get(),
                     err_.get());
  }

  void letGo() const { fs::remove(path("hold")); }

  /// The processes that have been held, as soon as there are so many.
  std::vector<pid_t> heldProcesses(std::size_t count) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(4);
    for (;;) {
      std::vector<pid_t> processes;
      for (const std::string& name : folder_.names()) {
        if (name.rfind("hold.", 0) == 0) processes.push_back(std::stoi(name.substr(5)));
      }
      if (processes.size() >= count) return processes;
      if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited in vain");
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  void expectNothingLeft() const { EXPECT_EQ(namesIn("out"), std::vector<std::string>{}); }

  SwJsonObject result() const { return objectOf(readFile(path("stdout"))); }

  std::string jobs_;

 private:
  segmask::FileDescriptor create(const char* name) const {
    return segmask::FileDescriptor(open(path(name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  }

  segmask::FileDescriptor out_;
  segmask::FileDescriptor err_;
};

TEST_F(ToolBatchSplitHeld, APieceWhoseProcessIsKilledIsDrawnAgain) {
  const pid_t tool = start();
  ASSERT_EQ(kill(heldProcesses(2).front(), SIGKILL), 0);
  // In the place of the one that was killed another one runs.
  heldProcesses(3);
  letGo();
  EXPECT_EQ(waitForTool(tool), 0) << readFile(path("stderr"));
  EXPECT_EQ(result()["status"].text(), "done");
  EXPECT_EQ(result()["attempts"].integer(), 7);
  EXPECT_TRUE(readFile(path("out/a.nv12")) == readFile(path("in.nv12")));
  EXPECT_EQ(namesIn("out"), (std::vector<std::string>{"a.nv12", "a.nv12.segmask.json"}));
}

TEST_F(ToolBatchSplitHeld, AKilledRunLeavesNoOutputAndIsDoneAgain) {
  const pid_t tool = start();
  heldProcesses(2);
  ASSERT_EQ(kill(tool, SIGKILL), 0);
  EXPECT_EQ(waitForTool(tool), 128 + SIGKILL);
  EXPECT_FALSE(fs::exists(path("out/a.nv12")));
  letGo();
  const ToolResult again = batch(jobs_, {"--split", "2"});
  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_EQ(objectOf(again.out)["status"].text(), "done");
  EXPECT_TRUE(readFile(path("out/a.nv12")) == readFile(path("in.nv12")));
}

TEST_F(ToolBatchSplitHeld, AnInputThatChangesMeanwhileFailsTheJob) {
  const pid_t tool = start();
  heldProcesses(2);
  fs::last_write_time(path("in.nv12"), fs::last_write_time(path("in.nv12")) + std::chrono::seconds(1));
  letGo();
  EXPECT_EQ(waitForTool(tool), 1) << readFile(path("stderr"));
  EXPECT_EQ(result()["status"].text(), "failed");
  EXPECT_EQ(result()["error"].text(),
            SwString(path("in.nv12") + ": an input of the job has changed while it was drawn in pieces"));
  expectNothingLeft();
}

TEST_F(ToolBatchSplitHeld, AnInterruptGivesUpThePieces) {
  const pid_t tool = start();
  heldProcesses(2);
  ASSERT_EQ(kill(tool, SIGINT), 0);
  ASSERT_EQ(kill(tool, SIGTERM), 0);
  EXPECT_EQ(waitForTool(tool), 130);
  EXPECT_EQ(result()["status"].text(), "interrupted");
  EXPECT_EQ(readFile(path("stderr")), "segmask: jobs: 1 interrupted\n");
  expectNothingLeft();
}

}  // namespace
