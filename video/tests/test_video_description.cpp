// What a video says of itself beside its samples, and what becomes of that on the way in and out.
#include <gtest/gtest.h>

#include <filesystem>

#include "io/UserError.h"
#include "src/LibavReader.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "test_support/media.h"
#include "video/FrameWriter.h"

namespace segmask {
namespace {

constexpr int32_t kOne = 1 << 16;
constexpr std::array<int32_t, 9> kClockwise{0, kOne, 0, -kOne, 0, 0, 0, 0, 1 << 30};

/// The left half dark, the right half bright.
void fillHalves(int, AVFrame& frame) {
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x)
      frame.data[0][y * frame.linesize[0] + x] = x < frame.width / 2 ? 40 : 200;
  }
}

MediaFile rotatedVideo() {
  MediaFile file;
  file.video.width = 64;
  file.video.height = 32;
  file.video.displayMatrix = kClockwise;
  file.video.fill = &fillHalves;
  return file;
}

void copy(FrameReader& reader, const std::string& to) {
  const std::unique_ptr<FrameWriter> writer = openFrameWriter(to, reader.format());
  for (Frame frame; reader.next(frame);) writer->write(frame);
  writer->finish();
  writer->commit();
}

TEST(VideoRotation, IsAppliedAsPlayersDo) {
  const TempFolder folder;
  const std::string path = folder.path("v.mp4");
  writeMedia(path, rotatedVideo());
  LibavReader reader(path);
  EXPECT_EQ(reader.format().width, 32);
  EXPECT_EQ(reader.format().height, 64);
  EXPECT_FALSE(reader.format().displayMatrix);
  Frame frame;
  ASSERT_TRUE(reader.next(frame));
  // Clockwise: the dark left half comes up.
  EXPECT_NEAR(frame.nv12[5 * 32 + 5], 40, 4);
  EXPECT_NEAR(frame.nv12[5 * 32 + 26], 40, 4);
  EXPECT_NEAR(frame.nv12[58 * 32 + 5], 200, 4);
  EXPECT_NEAR(frame.nv12[58 * 32 + 26], 200, 4);

  LibavReader again(path);
  copy(again, folder.path("upright.mp4"));
  EXPECT_FALSE(tracksOf(folder.path("upright.mp4"))[0].hasDisplayMatrix);
}

TEST(VideoRotation, IsLeftToPlayersOnRequest) {
  const TempFolder folder;
  const std::string path = folder.path("v.mp4");
  writeMedia(path, rotatedVideo());
  ReadOptions options;
  options.keepRotation = true;
  LibavReader reader(path, options);
  EXPECT_EQ(reader.format().width, 64);
  EXPECT_EQ(reader.format().displayMatrix, kClockwise);
  copy(reader, folder.path("kept.mp4"));
  EXPECT_TRUE(tracksOf(folder.path("kept.mp4"))[0].hasDisplayMatrix);
  LibavReader upright(folder.path("kept.mp4"));
  EXPECT_EQ(upright.format().width, 32);
}

TEST(VideoRotation, OfAnEighthOfATurnIsLeftToPlayersAndSaid) {
  const TempFolder folder;
  MediaFile file = rotatedVideo();
  file.video.displayMatrix = {46'341, 46'341, 0, -46'341, 46'341, 0, 0, 0, 1 << 30};
  writeMedia(folder.path("v.mp4"), file);
  const LibavReader reader(folder.path("v.mp4"));
  EXPECT_EQ(reader.format().width, 64);
  EXPECT_TRUE(reader.format().displayMatrix);
  EXPECT_EQ(reader.remarks(),
            std::vector<std::string>{folder.path("v.mp4") +
                                     ": its rotation is no quarter turn and is left to players"});
}

TEST(VideoAspect, ThatTheContainerAloneSaysIsCarriedOver) {
  const TempFolder folder;
  for (const char* name : {"v.mkv", "v.y4m"}) {
    MediaFile file;
    file.video.encoder = name == std::string("v.y4m") ? "wrapped_avframe" : "ffv1";
    file.video.sampleAspect = {4, 3};
    writeMedia(folder.path(name), file);
    LibavReader reader(folder.path(name));
    EXPECT_EQ(av_cmp_q(reader.format().sampleAspect, {4, 3}), 0) << name;
  }
}

TEST(VideoFields, AreCarriedOver) {
  const TempFolder folder;
  for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB}) {
    MediaFile file;
    file.video.encoder = "libx264";
    file.video.fieldOrder = order;
    file.video.fill = &fillHalves;
    writeMedia(folder.path("v.mkv"), file);
    for (const char* name : {"out.mkv", "out.mp4", "out.y4m"}) {
      LibavReader reader(folder.path("v.mkv"));
      EXPECT_EQ(reader.format().fieldOrder, order);
      copy(reader, folder.path(name));
      EXPECT_EQ(LibavReader(folder.path(name)).format().fieldOrder, order) << name;
    }
  }
}

TEST(VideoLosses, AreSaid) {
  const TempFolder folder;
  const auto remarks = [&folder](AVPixelFormat format) {
    MediaFile file;
    file.video.encoder = "ffv1";
    file.video.pixelFormat = format;
    writeMedia(folder.path("v.mkv"), file);
    return LibavReader(folder.path("v.mkv")).remarks();
  };
  const std::string file = folder.path("v.mkv");
  using Texts = std::vector<std::string>;
  EXPECT_EQ(remarks(AV_PIX_FMT_YUV420P), Texts{});
  EXPECT_EQ(remarks(AV_PIX_FMT_GRAY8), Texts{});
  EXPECT_EQ(remarks(AV_PIX_FMT_YUV420P10), Texts{file + ": its 10 bits a sample become 8 (yuv420p10le)"});
  const std::string finer = file + ": its chroma is reduced to one sample for 2x2 pixels ";
  EXPECT_EQ(remarks(AV_PIX_FMT_YUV444P), Texts{finer + "(yuv444p)"});
  EXPECT_EQ(remarks(AV_PIX_FMT_YUVA422P10),
            (Texts{file + ": its 10 bits a sample become 8 (yuva422p10le)", finer + "(yuva422p10le)",
                   file + ": its alpha is dropped (yuva422p10le)"}));
}

TEST(VideoTimes, OfAVaryingRateAreKept) {
  const TempFolder folder;
  MediaFile file;
  file.video.timeBase = {1, 1000};
  file.video.pts = [](int frame) { return int64_t{frame} * frame * 10 + 500; };
  writeMedia(folder.path("v.mkv"), file);
  LibavReader reader(folder.path("v.mkv"));
  copy(reader, folder.path("out.mp4"));
  LibavReader written(folder.path("out.mp4"));
  int number = 0;
  for (Frame frame; written.next(frame); ++number) {
    EXPECT_NEAR(static_cast<double>(frame.pts) * av_q2d(written.format().timeBase),
                0.001 * (number * number * 10 + 500), 0.0006);
  }
  EXPECT_EQ(number, 10);
}

TEST(CutOffVideos, AreRefusedAtTheirEnd) {
  const TempFolder folder;
  MediaFile file = rotatedVideo();
  file.video.frames = 30;
  file.tableFirst = true;
  writeMedia(folder.path("v.mp4"), file);
  const std::string bytes = readFile(folder.path("v.mp4"));
  for (const std::size_t kept : {bytes.size() - 1, bytes.size() - bytes.size() / 8}) {
    LibavReader reader(folder.write("cut.mp4", bytes.substr(0, kept)));
    try {
      for (Frame frame; reader.next(frame);) {
      }
      FAIL() << "of " << bytes.size() << " bytes, " << kept << " were taken for all";
    } catch (const UserError& error) {
      const std::string expected =
          folder.path("cut.mp4") + ": the file is cut off: it has " + std::to_string(kept) + " bytes, ";
      EXPECT_EQ(std::string(error.what()).find(expected), 0U) << error.what();
    }
  }
  file.tableFirst = false;
  writeMedia(folder.path("table_last.mp4"), file);
  const std::string other = readFile(folder.path("table_last.mp4"));
  EXPECT_THROW(LibavReader(folder.write("cut.mp4", other.substr(0, other.size() - 100))), UserError);
}

/// Reads all frames; the message of the error, if there is one.
std::string messageOfReading(const std::string& path) {
  try {
    LibavReader reader(path);
    for (Frame frame; reader.next(frame);) {
    }
  } catch (const UserError& error) {
    return error.what();
  }
  return {};
}

TEST(CutOffVideos, InMatroskaAreRefusedByTheirHeader) {
  const TempFolder folder;
  MediaFile file = rotatedVideo();
  file.video.frames = 50;
  writeMedia(folder.path("whole.mkv"), file);
  EXPECT_EQ(messageOfReading(folder.path("whole.mkv")), "");
  std::string bytes = readFile(folder.path("whole.mkv"));
  const std::size_t kept = bytes.size() - bytes.size() / 4;
  const std::string cut = folder.write("cut.mkv", bytes.substr(0, kept));
  EXPECT_EQ(messageOfReading(cut), cut + ": the file is cut off: it has " + std::to_string(kept) +
                                       " bytes, and by its own header " + std::to_string(bytes.size()));
  // What was recorded without an end has a size of ones alone.
  const std::size_t segment = bytes.find("\x18\x53\x80\x67\x01");
  ASSERT_NE(segment, std::string::npos);
  bytes.replace(segment + 5, 7, 7, '\xFF');
  EXPECT_EQ(messageOfReading(folder.write("live.mkv", bytes.substr(0, kept))), "");
}

TEST(CutOffPictures, AreRefusedAsVideosToo) {
  const TempFolder folder;
  MediaVideo picture;
  picture.encoder = "mjpeg";
  picture.pixelFormat = AV_PIX_FMT_YUVJ420P;
  picture.fill = &fillHalves;
  writePicture(folder.path("0.jpg"), picture);
  const std::string bytes = readFile(folder.path("0.jpg"));
  const std::string cut = folder.write("cut.jpg", bytes.substr(0, bytes.size() - 40));
  EXPECT_EQ(messageOfReading(folder.path("0.jpg")), "");
  EXPECT_EQ(messageOfReading(cut), cut + ": the picture is damaged");
  folder.write("1.jpg", readFile(cut));
  folder.write("2.jpg", bytes);
  const std::string pattern = folder.path("%d.jpg");
  EXPECT_EQ(messageOfReading(pattern), pattern + ": picture 1 is damaged");
}

/// Two rows of three pixels in grey, of which the data have the first one; every chunk is whole.
TEST(CutOffPictures, ThatAreAPngOfTooFewRowsAreRefusedAsVideosToo) {
  const TempFolder folder;
  MediaVideo picture;
  picture.encoder = "png";
  picture.pixelFormat = AV_PIX_FMT_GRAY8;
  picture.width = 3;
  picture.height = 2;
  writePicture(folder.path("0.png"), picture);
  EXPECT_EQ(messageOfReading(folder.path("0.png")), "");
  const char oneRowOfTwo[] =
      "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\3\0\0\0\2\x08\0\0\0\0\xB8\x1F\x39\xC6"
      "\0\0\0\x0CIDAT\x78\xDA\x63\x60\x60\x64\2\0\0\x08\0\4\x08\x1D\x63\x0A\0\0\0\0IEND\xAE\x42\x60\x82";
  const std::string bytes(oneRowOfTwo, sizeof oneRowOfTwo - 1);
  const std::string cut = folder.write("cut.png", bytes);
  EXPECT_EQ(messageOfReading(cut), cut + ": no frame of its video stream can be decoded");
  folder.write("1.png", bytes);
  const std::string pattern = folder.path("%d.png");
  EXPECT_EQ(messageOfReading(pattern), pattern + ": picture 1 is damaged");
}

TEST(ShrinkingFiles, AreRefused) {
  const TempFolder folder;
  const std::string raw = folder.write("a.nv12", noiseFrames(16, 8, 4));
  const std::unique_ptr<FrameReader> reader = openFrameReader(raw, std::string("16x8"));
  std::filesystem::resize_file(raw, 2 * frameBytes(16, 8));
  Frame frame;
  EXPECT_TRUE(reader->next(frame));
  EXPECT_TRUE(reader->next(frame));
  EXPECT_THROW(reader->next(frame), UserError);
}

TEST(VideoSizes, ThatChangeInMidStreamAreRefused) {
  const TempFolder folder;
  MediaFile small;
  small.video.encoder = "mjpeg";
  small.video.pixelFormat = AV_PIX_FMT_YUVJ420P;
  small.container = "mjpeg";
  MediaFile large = small;
  large.video.width = 80;
  writeMedia(folder.path("small.mjpeg"), small);
  writeMedia(folder.path("large.mjpeg"), large);
  LibavReader reader(
      folder.write("v.mjpeg", readFile(folder.path("small.mjpeg")) + readFile(folder.path("large.mjpeg"))));
  try {
    for (Frame frame; reader.next(frame);) {
    }
    FAIL() << "nothing was thrown";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), folder.path("v.mjpeg") + ": frame 10 is 80x48, the ones before it are 64x48");
  }
}

}  // namespace
}  // namespace segmask
