#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "io/UserError.h"
#include "src/LibavReader.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "test_support/media.h"
#include "video/FrameWriter.h"
#include "video/PngEncoder.h"

namespace segmask {
namespace {

constexpr int kFrames = 5;

VideoFormat formatOf(int width, int height) {
  VideoFormat format;
  format.width = width;
  format.height = height;
  format.timeBase = {1, 90'000};
  format.frameRate = {25, 1};
  return format;
}

const bool kQuiet = (silenceLibav(), true);

/// When the test's frames are shown: at varying distances.
int64_t ptsOf(int frame) {
  return 3600 * frame + (frame % 2) * 900;
}

void writeVideo(const std::string& path, const VideoFormat& format) {
  const std::unique_ptr<FrameWriter> writer = openFrameWriter(path, format);
  const std::size_t bytes = frameBytes(format.width, format.height);
  const std::string frames = flatFrames(format.width, format.height, kFrames);
  for (int number = 0; number < kFrames; ++number) {
    const std::string one = frames.substr(static_cast<std::size_t>(number) * bytes, bytes);
    Frame frame;
    frame.nv12.assign(one.begin(), one.end());
    frame.pts = ptsOf(number);
    writer->write(frame);
  }
  writer->finish();
  writer->commit();
}

double secondsOf(const Frame& frame, const VideoFormat& format) {
  return static_cast<double>(frame.pts) * av_q2d(format.timeBase);
}

class VideoRoundTrip : public ::testing::TestWithParam<const char*> {};

TEST_P(VideoRoundTrip, KeepsTimeRateAndColorTags) {
  const TempFolder folder;
  const std::string path = folder.path(GetParam());
  VideoFormat format = formatOf(64, 48);
  format.sampleAspect = {4, 3};
  format.color.range = AVCOL_RANGE_JPEG;
  format.color.matrix = AVCOL_SPC_BT709;
  format.color.primaries = AVCOL_PRI_BT709;
  format.color.transfer = AVCOL_TRC_BT709;
  writeVideo(path, format);

  LibavReader reader(path);
  EXPECT_EQ(reader.format().width, 64);
  EXPECT_EQ(reader.format().height, 48);
  EXPECT_EQ(av_cmp_q(reader.format().sampleAspect, format.sampleAspect), 0);
  EXPECT_EQ(reader.format().color.range, AVCOL_RANGE_JPEG);
  EXPECT_EQ(reader.format().color.matrix, AVCOL_SPC_BT709);
  EXPECT_EQ(reader.format().color.primaries, AVCOL_PRI_BT709);
  EXPECT_EQ(reader.format().color.transfer, AVCOL_TRC_BT709);
  Frame frame;
  for (int number = 0; number < kFrames; ++number) {
    ASSERT_TRUE(reader.next(frame)) << number;
    EXPECT_NEAR(secondsOf(frame, reader.format()), static_cast<double>(ptsOf(number)) / 90'000, 0.001);
    EXPECT_NEAR(frame.nv12[0], 40 + 4 * number, 2);
    EXPECT_NEAR(frame.nv12[64 * 48], 120, 2);
    EXPECT_NEAR(frame.nv12[64 * 48 + 1], 136, 2);
  }
  EXPECT_FALSE(reader.next(frame));
  EXPECT_EQ(reader.warning(), "");
}

TEST_P(VideoRoundTrip, OddSidesGrowByOneSample) {
  const TempFolder folder;
  const std::string path = folder.path(GetParam());
  writeVideo(path, formatOf(63, 47));
  LibavReader reader(path);
  EXPECT_EQ(reader.format().width, 64);
  EXPECT_EQ(reader.format().height, 48);
  Frame frame;
  ASSERT_TRUE(reader.next(frame));
  for (std::size_t i = 0; i < 64 * 48; ++i) ASSERT_NEAR(frame.nv12[i], 40, 2) << i;
}

INSTANTIATE_TEST_SUITE_P(Containers, VideoRoundTrip, ::testing::Values("v.mp4", "v.mkv"),
                         [](const auto& test) { return std::string(test.param).substr(2); });

TEST(LibavReader, Y4mKeepsRateAndRangeAndOddSides) {
  const TempFolder folder;
  const std::string path = folder.path("v.y4m");
  VideoFormat format = formatOf(63, 47);
  format.frameRate = {30'000, 1001};
  format.color.range = AVCOL_RANGE_MPEG;
  writeVideo(path, format);
  LibavReader reader(path);
  EXPECT_EQ(reader.format().width, 63);
  EXPECT_EQ(reader.format().height, 47);
  EXPECT_EQ(av_cmp_q(reader.format().frameRate, format.frameRate), 0);
  EXPECT_EQ(reader.format().color.range, AVCOL_RANGE_MPEG);
  const std::string expected = flatFrames(63, 47, kFrames);
  std::string read;
  for (Frame frame; reader.next(frame);) read.append(frame.nv12.begin(), frame.nv12.end());
  EXPECT_EQ(read, expected);
}

/// A PNG file of noise.
std::string noisePng() {
  const AVFramePtr picture = makeAVFrame(AV_PIX_FMT_RGB24, 16, 16);
  const std::string noise = noiseFrames(16, 48, 1);
  for (int row = 0; row < 16; ++row) {
    noise.copy(reinterpret_cast<char*>(picture->data[0]) + row * picture->linesize[0], 48,
               static_cast<std::size_t>(row) * 48);
  }
  return PngEncoder(16, 16).encode(*picture);
}

TEST(LibavReader, GoesOnAfterADamagedPictureAndSaysSo) {
  const TempFolder folder;
  const std::string good = noisePng();
  std::string damaged = good;
  damaged.replace(100, 300, 300, '\x55');
  LibavReader reader(folder.write("three.png", good + damaged + good));
  int frames = 0;
  for (Frame frame; reader.next(frame);) ++frames;
  EXPECT_EQ(frames, 2);
  EXPECT_EQ(reader.warning(),
            folder.path("three.png") + ": 1 packet could not be decoded; frames may be missing or damaged");
}

TEST(LibavReader, ReadsAFileWhoseNameLooksLikeAnAddress) {
  const TempFolder folder;
  const std::string path = folder.path("http:video.y4m");
  writeVideo(path, formatOf(8, 8));
  EXPECT_EQ(LibavReader(path).format().width, 8);
}

/// A pipe that gets these bytes once someone reads it.
class FedPipe {
 public:
  FedPipe(const std::string& path, std::string bytes) : bytes_(std::move(bytes)) {
    if (mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("no pipe can be made");
    feeder_ = std::thread([this, path] { std::ofstream(path, std::ios::binary) << bytes_; });
  }
  ~FedPipe() { feeder_.join(); }
  FedPipe(const FedPipe&) = delete;
  FedPipe& operator=(const FedPipe&) = delete;

 private:
  std::string bytes_;
  std::thread feeder_;
};

TEST(LibavReader, ReadsContainersWithTablesFromAPipe) {
  const TempFolder folder;
  for (const char* container : {"matroska", "mp4", "avi"}) {
    MediaFile file;
    file.container = container;
    file.tableFirst = true;
    writeMedia(folder.path("file"), file);
    const FedPipe pipe(folder.path(container), readFile(folder.path("file")));
    LibavReader reader(folder.path(container));
    int frames = 0;
    for (Frame frame; reader.next(frame);) ++frames;
    EXPECT_EQ(frames, 10) << container;
  }
}

TEST(LibavReader, RefusesWhatIsNoVideo) {
  const TempFolder folder;
  EXPECT_THROW(LibavReader(folder.path("none.mp4")), UserError);
  EXPECT_THROW(LibavReader(folder.write("text.mp4", "this is no video\n")), UserError);
  EXPECT_THROW(LibavReader(folder.write("empty.mp4", "")), UserError);
  EXPECT_THROW(LibavReader(folder.path("")), UserError);
}

}  // namespace
}  // namespace segmask
