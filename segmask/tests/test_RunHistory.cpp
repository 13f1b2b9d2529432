#include <gtest/gtest.h>

#include "src/report/RunHistory.h"

namespace segmask {
namespace {

using seg_mask::Outcome;

RunCounts counts(uint64_t drawn, uint64_t faint, uint64_t lookedBack) {
  RunCounts counts;
  counts.detections[static_cast<std::size_t>(Outcome::Drawn)] = drawn;
  counts.detections[static_cast<std::size_t>(Outcome::LowScore)] = faint;
  counts.lookedBack = lookedBack;
  return counts;
}

TEST(RunHistory, AFrameHasWhatWasCountedSinceTheOneBefore) {
  RunHistory history;
  EXPECT_EQ(history.add({7, 0.0, true, 2.0}, counts(3, 1, 0)).drawn(), 3U);
  const RunCounts second = history.add({8, 0.5, false, 1.0}, counts(3, 5, 2));
  EXPECT_EQ(second.drawn(), 0U);
  EXPECT_EQ(second.dropped(), 4U);
  EXPECT_EQ(second.of(Outcome::LowScore), 4U);
  EXPECT_EQ(second.lookedBack, 2U);
}

TEST(RunHistory, SpansAreSingleFramesWhileThereIsRoom) {
  RunHistory history;
  for (uint64_t frame = 0; frame < RunHistory::kMostSpans; ++frame) {
    history.add({frame + 100, std::nullopt, false, 1.0}, counts(2 * frame, 0, 0));
  }
  ASSERT_EQ(history.spans().size(), RunHistory::kMostSpans);
  const RunHistory::Span& last = history.spans().back();
  EXPECT_EQ(last.first, 227U);
  EXPECT_EQ(last.last, 227U);
  EXPECT_EQ(last.frames, 1U);
  EXPECT_EQ(last.counts.drawn(), 2U);
  EXPECT_FALSE(last.seconds);
}

TEST(RunHistory, LongerVideosHaveLongerSpansThatAddUpToTheRun) {
  RunHistory history;
  constexpr uint64_t kFrames = 1000;
  for (uint64_t frame = 0; frame < kFrames; ++frame) {
    const auto seconds = static_cast<double>(frame) / 10;
    // One is drawn in each frame, two are dropped in every tenth, one is used again in every odd one.
    history.add({frame, seconds, frame % 2 == 0, frame == 500 ? 9.0 : 0.5},
                counts(frame + 1, 2 * (frame / 10 + 1), (frame + 1) / 2));
  }
  // 128 spans of 4 frames are full after 512; so they have 8, and the last is full too.
  ASSERT_EQ(history.spans().size(), 125U);
  RunCounts sum;
  uint64_t frames = 0;
  uint64_t framesDrawn = 0;
  double renderMs = 0;
  for (const RunHistory::Span& span : history.spans()) {
    EXPECT_EQ(span.first, frames);
    EXPECT_EQ(span.last, frames + 7);
    EXPECT_EQ(span.seconds, static_cast<double>(frames) / 10);
    EXPECT_EQ(span.slowestMs, span.first == 496 ? 9.0 : 0.5);
    frames += span.frames;
    framesDrawn += span.framesDrawn;
    renderMs += span.renderMs;
    for (std::size_t i = 0; i < kOutcomes; ++i) sum.detections[i] += span.counts.detections[i];
    sum.lookedBack += span.counts.lookedBack;
  }
  EXPECT_EQ(frames, kFrames);
  EXPECT_EQ(framesDrawn, 500U);
  EXPECT_DOUBLE_EQ(renderMs, 999 * 0.5 + 9.0);
  EXPECT_EQ(sum.drawn(), 1000U);
  EXPECT_EQ(sum.dropped(), 200U);
  EXPECT_EQ(sum.lookedBack, 500U);
}

TEST(RunHistory, TakesNoMoreRoomForAVideoOfAnyLength) {
  RunHistory history;
  for (uint64_t frame = 0; frame < 100'000; ++frame) {
    history.add({frame, std::nullopt, true, 1.0}, counts(frame + 1, 0, 0));
    ASSERT_LE(history.spans().size(), RunHistory::kMostSpans);
  }
  EXPECT_GT(history.spans().size(), RunHistory::kMostSpans / 2);
  EXPECT_EQ(history.spans().back().last, 99'999U);
}

}  // namespace
}  // namespace segmask
