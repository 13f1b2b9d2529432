#include <gtest/gtest.h>

#include <vector>

#include "src/SteadyTimes.h"

namespace segmask {
namespace {

constexpr AVRational kMilliseconds{1, 1000};

/// A video of 25 frames a second and its sound, in packets of 20 ms; in milliseconds.
class SteadyTimesTest : public ::testing::Test {
 protected:
  SteadyTimesTest() {
    parameters_.codec_type = AVMEDIA_TYPE_AUDIO;
    sound_.index = 1;
    sound_.codecpar = &parameters_;
    sound_.time_base = kMilliseconds;
  }

  /// When the frame is shown that is decoded at `dts`.
  int64_t video(int64_t dts, int64_t pts, bool isKey = false) {
    const AVPacketPtr packet = packetAt(dts, pts, 40);
    if (isKey) packet->flags |= AV_PKT_FLAG_KEY;
    times_.moveVideo(*packet, kMilliseconds);
    EXPECT_EQ(packet->pts - packet->dts, pts - dts);
    return packet->pts;
  }

  int64_t video(int64_t time) { return video(time, time); }

  int64_t sound(int64_t time) {
    const AVPacketPtr packet = packetAt(time, time, 20);
    times_.moveOther(*packet, sound_);
    EXPECT_EQ(packet->pts, packet->dts);
    return packet->pts;
  }

  SteadyTimes times_;

 private:
  static AVPacketPtr packetAt(int64_t dts, int64_t pts, int64_t duration) {
    AVPacketPtr packet = makeAVPacket();
    packet->dts = dts;
    packet->pts = pts;
    packet->duration = duration;
    return packet;
  }

  AVCodecParameters parameters_{};
  AVStream sound_{};
};

TEST_F(SteadyTimesTest, OneWrongTimeThatLiesBackMovesNothingElse) {
  for (int i = 0; i < 50; ++i) {
    const bool isWrong = i == 25;
    EXPECT_EQ(video(isWrong ? 0 : 40 * i), 40 * i);
    EXPECT_EQ(times_.jumps(), isWrong ? 1U : 0U) << i;
    EXPECT_EQ(sound(40 * i), 40 * i);
    EXPECT_EQ(sound(40 * i + 20), 40 * i + 20);
  }
}

TEST_F(SteadyTimesTest, AGapAfterAJumpStays) {
  for (int i = 0; i < 50; ++i) video(40 * i);
  EXPECT_EQ(video(0), 2000);
  EXPECT_EQ(video(1000), 3000);
  EXPECT_EQ(times_.jumps(), 1U);
}

/// Frames are decoded up to 80 ms before they are shown. Of the first one of what follows, libavformat says
/// the time of showing for both, as in Matroska, which has no other.
TEST_F(SteadyTimesTest, WhatFollowsIsShownAfterAllThatWasBefore) {
  EXPECT_EQ(video(0, 80, true), 80);
  for (int64_t time = 40; time < 1000; time += 120) {
    EXPECT_EQ(video(time, time + 160), time + 160);
    EXPECT_EQ(video(time + 40, time + 80), time + 80);
    EXPECT_EQ(video(time + 80, time + 120), time + 120);
  }
  // The last frame that was shown began at 1040.
  EXPECT_EQ(video(80, 80, true), 1080);
  EXPECT_EQ(video(120, 240), 1240);
}

TEST_F(SteadyTimesTest, SoundWithAWrongTimeFarAheadGoesOnWhereItWas) {
  for (int i = 0; i < 50; ++i) {
    video(40 * i);
    const bool isWrong = i > 24 && i < 28;
    EXPECT_EQ(sound(isWrong ? 100'000 + 40 * i : 40 * i), 40 * i);
    EXPECT_EQ(sound(isWrong ? 100'020 + 40 * i : 40 * i + 20), 40 * i + 20);
  }
}

/// The file has a minute of sound, of which half a minute is missing, before the video of that minute.
TEST_F(SteadyTimesTest, SoundThatLiesFarBeforeItsVideoKeepsItsTimes) {
  video(0);
  for (int64_t time = 0; time < 15'000; time += 20) EXPECT_EQ(sound(time), time);
  // Two seconds are taken for wrong, and stand earlier.
  for (int64_t time = 45'000; time < 47'000; time += 20) EXPECT_EQ(sound(time), time - 30'000);
  for (int64_t time = 47'000; time < 60'000; time += 20) EXPECT_EQ(sound(time), time);
  // The video comes behind it, without a jump.
  for (int64_t time = 40; time < 60'000; time += 40) EXPECT_EQ(video(time), time);
  for (int64_t time = 60'000; time < 70'000; time += 20) EXPECT_EQ(sound(time), time);
}

TEST_F(SteadyTimesTest, SoundAfterAPauseMayComeBeforeItsVideo) {
  for (int64_t time = 0; time < 1000; time += 20) {
    if (time % 40 == 0) video(time);
    sound(time);
  }
  // One packet, which stands before the pause.
  EXPECT_EQ(sound(60'000), 1000);
  EXPECT_EQ(video(60'000), 60'000);
  EXPECT_EQ(sound(60'020), 60'020);
  EXPECT_EQ(times_.jumps(), 0U);
}

}  // namespace
}  // namespace segmask
