#include <gtest/gtest.h>

#include "io/UserError.h"
#include "src/render/FrameSource.h"

namespace segmask {
namespace {

/// Five frames, shown at 100, 110, 130, 160 and 200 hundredths of a second.
class FiveFrames : public FrameReader {
 public:
  FiveFrames() { format_.timeBase = {1, 100}; }
  const VideoFormat& format() const override { return format_; }
  std::optional<uint64_t> frameCount() const override { return 5; }
  bool next(Frame& frame) override {
    if (number_ == 5) return false;
    frame.pts = 100 + 5 * number_ * (number_ + 1);
    ++number_;
    return true;
  }

 private:
  VideoFormat format_;
  int number_ = 0;
};

using Numbers = std::vector<uint64_t>;
using Times = std::vector<int64_t>;

struct Part {
  Numbers numbers;
  Times times;
};

Part read(FrameSource& source) {
  Part part;
  Frame frame;
  for (uint64_t number = 0; source.next(frame, number);) {
    part.numbers.push_back(number);
    part.times.push_back(frame.pts);
  }
  return part;
}

Part readFrom(const std::string& start) {
  FrameSource source(std::make_unique<FiveFrames>());
  source.skipTo(parseStartPoint(start), "v.mp4");
  return read(source);
}

TEST(FrameSource, GivesAllFramesAsTheyAre) {
  FrameSource source(std::make_unique<FiveFrames>());
  EXPECT_EQ(source.frameCount(), 5U);
  EXPECT_EQ(source.sourceFrames(), std::nullopt);
  const Part part = read(source);
  EXPECT_EQ(part.numbers, (Numbers{0, 1, 2, 3, 4}));
  EXPECT_EQ(part.times, (Times{100, 110, 130, 160, 200}));
  EXPECT_EQ(source.sourceFrames(), 5U);
}

TEST(FrameSource, BeginsAtAFrameOrATimeAndKeepsTheSourcesNumbers) {
  EXPECT_EQ(readFrom("3").numbers, (Numbers{3, 4}));
  EXPECT_EQ(readFrom("3").times, (Times{0, 40}));
  EXPECT_EQ(readFrom("0").times, (Times{0, 10, 30, 60, 100}));
  EXPECT_EQ(readFrom("0.3").numbers, (Numbers{2, 3, 4}));
  EXPECT_EQ(readFrom("0.31").numbers, (Numbers{3, 4}));
  EXPECT_EQ(readFrom("1s").numbers, (Numbers{4}));
}

TEST(FrameSource, EndsAfterTheLimit) {
  FrameSource source(std::make_unique<FiveFrames>());
  source.skipTo({1, std::nullopt}, "v.mp4");
  source.limit(2);
  EXPECT_EQ(source.frameCount(), 2U);
  EXPECT_EQ(read(source).numbers, (Numbers{1, 2}));
  EXPECT_EQ(source.sourceFrames(), std::nullopt);
}

TEST(FrameSource, APieceKeepsTheNumbersAndTimesOfAllPieces) {
  FrameSource source(std::make_unique<FiveFrames>());
  source.skipTo({1, std::nullopt}, "v.mp4");
  VideoPiece piece;
  piece.offset = 2;
  piece.frames = 1;
  source.goToPiece(piece, "v.mp4");
  EXPECT_EQ(source.first(), 3U);
  EXPECT_EQ(source.passed(), 2U);
  EXPECT_EQ(source.beginning(), 110);
  const Part part = read(source);
  EXPECT_EQ(part.numbers, (Numbers{3}));
  EXPECT_EQ(part.times, (Times{50}));
  EXPECT_EQ(source.sourceFrames(), std::nullopt);
}

TEST(FrameSource, APiecePastTheEndHasNoFrame) {
  FrameSource source(std::make_unique<FiveFrames>());
  VideoPiece piece;
  piece.offset = 7;
  source.goToPiece(piece, "v.mp4");
  EXPECT_EQ(source.first(), 5U);
  EXPECT_EQ(source.passed(), 5U);
  EXPECT_EQ(read(source).numbers, Numbers{});
  EXPECT_EQ(source.sourceFrames(), 5U);
}

TEST(FrameSource, APieceWhoseFramesAreNotAsIndexedIsRefused) {
  const auto readIndexed = [](uint64_t frames, int64_t firstTime, int64_t lastTime) {
    FrameSource source(std::make_unique<FiveFrames>());
    VideoPiece piece;
    piece.offset = 2;
    piece.indexed = IndexedFrames{std::nullopt, 2, frames, 0, firstTime, lastTime};
    source.goToPiece(piece, "v.mp4");
    return read(source).numbers;
  };
  EXPECT_EQ(readIndexed(3, 130, 200), (Numbers{2, 3, 4}));
  EXPECT_THROW(readIndexed(3, 131, 200), NotAsIndexed);
  EXPECT_THROW(readIndexed(3, 130, 201), NotAsIndexed);
  EXPECT_THROW(readIndexed(2, 130, 160), NotAsIndexed);
  EXPECT_THROW(readIndexed(4, 130, 200), NotAsIndexed);
}

TEST(FrameSource, APartPastTheEndIsRefused) {
  for (const char* start : {"5", "1.02", "1:00"}) {
    try {
      readFrom(start);
      FAIL() << start;
    } catch (const UserError& error) {
      EXPECT_STREQ(error.what(), "--start: v.mp4 has only 5 frames");
    }
  }
}

TEST(ParseStartPoint, TellsFramesAndTimes) {
  EXPECT_EQ(parseStartPoint("250").frame, 250U);
  EXPECT_EQ(parseStartPoint("250").seconds, std::nullopt);
  EXPECT_EQ(parseStartPoint("250.").seconds, 250.0);
  EXPECT_EQ(parseStartPoint(".5").seconds, 0.5);
  EXPECT_EQ(parseStartPoint("90s").seconds, 90.0);
  EXPECT_EQ(parseStartPoint("1:30").seconds, 90.0);
  EXPECT_EQ(parseStartPoint("1:02:03.5").seconds, 3723.5);
  for (const char* text : {"", "s", ".", "-1", "1:", ":1", "1.5:00", "1:2:3:4", "1e3", "1..2", "x", "1 ",
                           "9999999999999999999"}) {
    EXPECT_THROW(parseStartPoint(text), UserError) << text;
  }
}

}  // namespace
}  // namespace segmask
