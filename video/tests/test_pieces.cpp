#include <gtest/gtest.h>

#include <algorithm>

#include "io/UserError.h"
#include "test_support/TempFolder.h"
#include "test_support/media.h"
#include "video/pieces.h"

namespace segmask {
namespace {

const bool kQuiet = (silenceLibav(), true);

constexpr int kFrames = 5;

/// Frames at 7, 8, 11, 16 and 23 twenty-fifths of a second, each brighter than the one before.
std::string writeVideo(const std::string& path, const std::string& encoder) {
  MediaFile file;
  file.video.encoder = encoder;
  if (encoder == "mjpeg") file.video.pixelFormat = AV_PIX_FMT_YUVJ420P;
  file.video.frames = kFrames;
  file.video.pts = [](int frame) { return int64_t{frame} * frame + 7; };
  file.video.fill = [](int number, AVFrame& frame) {
    std::fill_n(frame.data[0], frame.linesize[0] * frame.height, static_cast<uint8_t>(20 + 40 * number));
  };
  writeMedia(path, file);
  return path;
}

FrameIndex indexOf(const std::string& path) {
  ReadOptions options;
  options.index = true;
  const std::unique_ptr<FrameReader> reader = openFrameReader(path, options);
  while (reader->passOver()) {
  }
  return reader->index();
}

std::vector<uint64_t> entriesOf(const FrameIndex& index) {
  std::vector<uint64_t> frames;
  for (const FrameEntry& entry : index.entries) frames.push_back(entry.frame);
  return frames;
}

std::vector<Frame> framesOf(FrameReader& reader) {
  std::vector<Frame> frames;
  for (Frame frame; reader.next(frame);) frames.push_back(frame);
  return frames;
}

TEST(FrameIndex, OfACodecWithoutReferencesEachFrameIsAnEntry) {
  const TempFolder folder;
  const FrameIndex index = indexOf(writeVideo(folder.path("v.mov"), "mjpeg"));
  EXPECT_EQ(index.packets, uint64_t{kFrames});
  EXPECT_EQ(entriesOf(index), (std::vector<uint64_t>{0, 1, 2, 3, 4}));
  ASSERT_EQ(index.times.size(), std::size_t{kFrames});
  EXPECT_EQ((index.times[4] - index.times[0]) / (index.times[1] - index.times[0]), 16);
  EXPECT_EQ(index.entryBefore(3)->frame, 3U);
}

TEST(FrameIndex, OfOthersOnlyIdrPicturesOfH264AreEntries) {
  const TempFolder folder;
  const FrameIndex h264 = indexOf(writeVideo(folder.path("v.mp4"), "libx264"));
  EXPECT_EQ(entriesOf(h264), (std::vector<uint64_t>{0}));
  EXPECT_EQ(h264.times.size(), std::size_t{kFrames});
  EXPECT_EQ(h264.entryBefore(3)->frame, 0U);
  const FrameIndex mpeg4 = indexOf(writeVideo(folder.path("v.mkv"), "mpeg4"));
  EXPECT_EQ(entriesOf(mpeg4), std::vector<uint64_t>{});
  EXPECT_EQ(mpeg4.times.size(), std::size_t{kFrames});
  EXPECT_FALSE(mpeg4.entryBefore(3));
}

TEST(FrameIndex, ReadingGoesOnAtAnEntry) {
  const TempFolder folder;
  const std::string path = writeVideo(folder.path("v.mov"), "mjpeg");
  const std::vector<Frame> all = framesOf(*openFrameReader(path, std::nullopt));
  ASSERT_EQ(all.size(), std::size_t{kFrames});
  const FrameIndex index = indexOf(path);
  for (std::size_t first = 0; first < all.size(); ++first) {
    const std::unique_ptr<FrameReader> reader = openFrameReader(path, std::nullopt);
    reader->goTo(index.entries[first]);
    const std::vector<Frame> rest = framesOf(*reader);
    ASSERT_EQ(rest.size(), all.size() - first);
    EXPECT_EQ(rest[0].pts, all[first].pts);
    EXPECT_EQ(rest[0].nv12, all[first].nv12);
  }
  FrameEntry wrong = index.entries[2];
  ++wrong.pts;
  EXPECT_THROW(openFrameReader(path, std::nullopt)->goTo(wrong), NotAsIndexed);
}

TEST(Pieces, OfOtherEncoderParametersAreNotJoined) {
  const TempFolder folder;
  const std::string path = writeVideo(folder.path("v.mkv"), "mpeg4");
  const auto writePiece = [&](const char* name, const char* preset) {
    const std::unique_ptr<FrameReader> reader = openFrameReader(path, std::nullopt);
    WriteOptions options;
    options.encoder.preset = preset;
    options.pieceFrom = 0;
    const std::unique_ptr<FrameWriter> writer = openFrameWriter(folder.path(name), reader->format(), options);
    for (const Frame& frame : framesOf(*reader)) writer->write(frame);
    writer->finish();
    writer->commit();
    return folder.path(name);
  };
  const std::string usual = writePiece("0.mp4", "veryfast");
  const std::string other = writePiece("1.mp4", "ultrafast");
  const std::string joined = folder.path("joined.mp4");
  const std::unique_ptr<FrameReader> source = openFrameReader(path, std::nullopt);
  try {
    joinPieces({usual, other}, joined, {*source}, {});
    FAIL() << "they were joined";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(),
              joined + ": its pieces were encoded with different parameters and cannot be joined");
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"0.mp4", "1.mp4", "v.mkv"}));
}

}  // namespace
}  // namespace segmask
