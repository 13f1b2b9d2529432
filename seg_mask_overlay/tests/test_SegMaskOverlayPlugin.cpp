#include <gtest/gtest.h>

#include <chrono>
#include <iomanip>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "core/SwString.h"
#include "render_base/RenderContext.h"
#include "seg_mask_overlay/SegMaskOverlayPlugin.h"
#include "test_support/FrameContext.h"
#include "test_support/StderrCapture.h"
#include "tests/FrameMaskCompositorPeer.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/ZelvoPicture.h"

namespace {

uint64_t steadyNowNs() {
  return static_cast<uint64_t>(
      std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count());
}

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();

/// One 8 x 4 frame of grey with one producer.
struct Frame : plugin_test::FrameContext {
  explicit Frame(const std::string& payload = "") {
    show(8, 4, grey());
    if (!payload.empty()) deliver("p", SwAny(SwString(payload)));
  }

  static std::vector<uint8_t> grey() { return std::vector<uint8_t>(8 * 4 * 3 / 2, 100); }

  /// The resolver runs between the plug-in's two looks at the picture.
  void losePictureWhenResolved() {
    resolver.resolve = [this](uint64_t, const SwAny& stored) {
      ctx.picture.source.reset();
      return stored;
    };
  }
};

std::string detection(const std::string& box, const std::string& score = "1",
                      const std::string& mask = "SEG1|1|1|AQ") {
  return "{" + box + ", \"score\": " + score + ", \"class_info\": \"" + mask + "\"}";
}

std::string payload(const std::string& detections) {
  return "{\"detections\": [" + detections + "]}";
}

const std::string kWholeFrame = "\"x\": 0, \"y\": 0, \"w\": 8, \"h\": 4";

struct SegMaskOverlayPluginTest : testing::Test {
  zelvo::DeviceRenderBackend backend{nullptr};
  SegMaskOverlayPlugin plugin;
  SegMaskOverlayPluginPeer fields{plugin};
  FrameMaskCompositorPeer mask_buffer{{plugin}};

  SegMaskOverlayPluginTest() { plugin.init({&backend}); }

  /// What rendering the frame writes to the standard error stream.
  std::string logOf(Frame& frame) {
    const StderrCapture written;
    plugin.render(frame.ctx);
    return written.text();
  }

  /// Renders `count` frames without detections and returns the numbers of those that wrote a line, from 1.
  std::vector<int> framesLogged(int count) {
    std::vector<int> logged;
    for (int i = 1; i <= count; ++i) {
      Frame frame;
      if (!logOf(frame).empty()) logged.push_back(i);
    }
    return logged;
  }
};

TEST_F(SegMaskOverlayPluginTest, ConstructionSetsTheDefaults) {
  SegMaskOverlayPlugin fresh;
  SegMaskOverlayPluginPeer peer{fresh};
  EXPECT_EQ(peer.backend(), nullptr);
  EXPECT_FALSE(peer.debug());
  EXPECT_EQ(peer.alpha(), 0.45F);
  EXPECT_EQ(peer.minScore(), 0.0F);
  EXPECT_EQ(peer.compositor(), nullptr);
  EXPECT_EQ(peer.skippedFrames(), 0U);
  EXPECT_EQ(peer.nextLogNs(), 0U);
  EXPECT_EQ(peer.logIntervalMs(), 2000U);
  EXPECT_EQ(peer.logEveryN(), 60U);
  EXPECT_EQ(peer.maxOverlayDets(), 256);
}

TEST_F(SegMaskOverlayPluginTest, InitWithANullBackendReturnsTrueAndLeavesItInert) {
  EXPECT_TRUE(plugin.init({nullptr}));
  Frame frame(payload(detection(kWholeFrame)));
  plugin.render(frame.ctx);
  EXPECT_EQ(frame.ctx.picture.writable, nullptr);
  EXPECT_EQ(fields.skippedFrames(), 0U);
}

TEST_F(SegMaskOverlayPluginTest, AConfigurationKeepsWhatItDoesNotName) {
  plugin.setConfig("{\"alpha\": 0.25, \"min_score\": 0.5, \"max_overlay_dets\": 7}");
  plugin.setConfig("{\"min_score\": 0.75}");
  plugin.setConfig("not JSON");
  EXPECT_EQ(fields.alpha(), 0.25F);
  EXPECT_EQ(fields.minScore(), 0.75F);
  EXPECT_EQ(fields.maxOverlayDets(), 7);
}

TEST_F(SegMaskOverlayPluginTest, DrawsTheDefaultWeightOfTheClassColour) {
  Frame frame(payload(detection("\"x\": 2, \"y\": 0, \"w\": 2, \"h\": 2")));
  plugin.render(frame.ctx);
  // Class 0 is Y 115, U 94, V 227: 51.75 + 55 + 0.5 = 107.25, 42.3 + 55 + 0.5 = 97.8, 102.15 + 55 + 0.5 =
  // 157.65.
  std::vector<uint8_t> expected = Frame::grey();
  for (const std::size_t i : {2U, 3U, 10U, 11U}) expected[i] = 107;
  expected[32 + 2] = 97;
  expected[32 + 3] = 157;
  EXPECT_EQ(frame.pixels(), expected);
}

TEST_F(SegMaskOverlayPluginTest, ACapOf0OrLessActsAs1) {
  for (const int32_t cap : {0, -5}) {
    fields.maxOverlayDets() = cap;
    Frame frame(payload(detection("\"x\": 0, \"y\": 0, \"w\": 1, \"h\": 1") + "," +
                        detection("\"x\": 5, \"y\": 0, \"w\": 1, \"h\": 1")));
    plugin.render(frame.ctx);
    EXPECT_EQ(frame.pixels()[0], 107) << cap;
    EXPECT_EQ(frame.pixels()[5], 100) << cap;
  }
}

TEST_F(SegMaskOverlayPluginTest, AFrameWithoutDrawableItemsNeitherMapsNorAllocates) {
  Frame frame(payload(detection(kWholeFrame, "1", "SEG1|4|2")));
  plugin.render(frame.ctx);
  EXPECT_EQ(frame.ctx.picture.writable, nullptr);
  EXPECT_EQ(mask_buffer.deviceMask(), nullptr);
}

TEST_F(SegMaskOverlayPluginTest, AFrameWhoseBoxesAllLieOutsideStillMapsAndAllocates) {
  Frame frame(payload(detection("\"x\": 100, \"y\": 0, \"w\": 8, \"h\": 4")));
  plugin.render(frame.ctx);
  EXPECT_TRUE(frame.ctx.guard_active);
  EXPECT_EQ(mask_buffer.deviceMaskBytes(), 32U);
  EXPECT_EQ(frame.pixels(), Frame::grey());
}

TEST_F(SegMaskOverlayPluginTest, APictureWithoutSizeIsLeftAlone) {
  Frame frame(payload(detection(kWholeFrame)));
  frame.ctx.picture.source = std::make_shared<zelvo::ZelvoPicture>();
  plugin.render(frame.ctx);
  EXPECT_EQ(frame.ctx.picture.writable, nullptr);
}

TEST_F(SegMaskOverlayPluginTest, ASourceLostDuringTheFrameIsReported) {
  Frame frame(payload(detection(kWholeFrame)));
  frame.losePictureWhenResolved();
  try {
    plugin.render(frame.ctx);
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "LazyDetachedPicture has no readable picture");
  }
}

TEST_F(SegMaskOverlayPluginTest, ASourceLostDuringTheFrameIsReportedThoughNothingIsDrawable) {
  Frame frame(payload(detection(kWholeFrame, "1", "no mask")));
  frame.losePictureWhenResolved();
  EXPECT_THROW(plugin.render(frame.ctx), std::runtime_error);
}

TEST_F(SegMaskOverlayPluginTest, WithoutASourceNothingIsCountedOrLogged) {
  plugin.enableDebug(true);
  Frame frame;
  frame.ctx.picture.source.reset();
  EXPECT_EQ(logOf(frame), "");
  EXPECT_EQ(fields.skippedFrames(), 0U);
}

TEST_F(SegMaskOverlayPluginTest, TheSkipLineNamesFrameMissingAndLookback) {
  plugin.enableDebug(true);
  Frame frame("{}");
  frame.inputs["detection.v1"][0].uses_lookback = true;
  frame.report("").producer_name = "silent";
  frame.ctx.frame_id = 1042;
  EXPECT_EQ(logOf(frame),
            "[SegMask][Fallback] frame=1042 decision=skip providers_missing=2 providers_using_lookback=1\n");
}

TEST_F(SegMaskOverlayPluginTest, TheLineIgnoresWhatTheHostHasLeftOnTheStream) {
  plugin.enableDebug(true);
  Frame frame;
  std::cerr << std::setw(200) << std::setfill('*');
  const std::string line = logOf(frame);
  std::cerr.width(0);
  std::cerr.fill(' ');
  EXPECT_EQ(line,
            "[SegMask][Fallback] frame=0 decision=skip providers_missing=0 providers_using_lookback=0\n");
}

TEST_F(SegMaskOverlayPluginTest, TheLineComesInOnePiece) {
  plugin.enableDebug(true);
  Frame frame;
  const StderrCapture written;
  plugin.render(frame.ctx);
  EXPECT_EQ(written.writes(), 1);
}

/// Takes nothing, like a full disk.
class FullBuffer : public std::streambuf {
  std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
};

TEST_F(SegMaskOverlayPluginTest, ALineIsLostWhereTheStreamTakesNothingThoughTheHostLetsStreamsThrow) {
  plugin.enableDebug(true);
  Frame frame;
  FullBuffer full;
  std::streambuf* const before = std::cerr.rdbuf(&full);
  std::cerr.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  EXPECT_NO_THROW(plugin.render(frame.ctx));
  EXPECT_TRUE(std::cerr.bad());
  std::cerr.exceptions(std::ios_base::goodbit);
  std::cerr.clear();
  std::cerr.rdbuf(before);
  EXPECT_EQ(framesLogged(1), std::vector<int>{}) << "a lost line was the run's first";
}

/// Keeps what has arrived by the time of each flush.
class FlushedTexts : public std::stringbuf {
 public:
  std::vector<std::string> texts;

 private:
  int sync() override {
    texts.push_back(str());
    return 0;
  }
};

TEST_F(SegMaskOverlayPluginTest, TheLineIsFlushedOnceItIsWholeThoughTheHostHasTurnedThatOff) {
  plugin.enableDebug(true);
  Frame frame;
  FlushedTexts flushed;
  std::streambuf* const before = std::cerr.rdbuf(&flushed);
  std::cerr << std::nounitbuf;
  plugin.render(frame.ctx);
  std::cerr << std::unitbuf;
  std::cerr.rdbuf(before);
  EXPECT_EQ(flushed.texts, std::vector<std::string>{"[SegMask][Fallback] frame=0 decision=skip "
                                                    "providers_missing=0 providers_using_lookback=0\n"});
}

TEST_F(SegMaskOverlayPluginTest, TheFrameNumberIsUnsigned) {
  plugin.enableDebug(true);
  Frame frame;
  frame.ctx.frame_id = kNever;
  EXPECT_EQ(logOf(frame),
            "[SegMask][Fallback] frame=18446744073709551615 decision=skip providers_missing=0 "
            "providers_using_lookback=0\n");
}

TEST_F(SegMaskOverlayPluginTest, WithinAnIntervalTheFirstAndEvery60thSkippedFrameAreLogged) {
  plugin.enableDebug(true);
  fields.logIntervalMs() = 3'600'000;  // no slow machine may add a line on time
  EXPECT_EQ(framesLogged(125), (std::vector<int>{1, 60, 120}));
}

TEST_F(SegMaskOverlayPluginTest, ALineIsAlsoDueWhenItsTimeHasCome) {
  plugin.enableDebug(true);
  fields.logIntervalMs() = 3'600'000;
  EXPECT_EQ(framesLogged(3), std::vector<int>{1});
  fields.nextLogNs() = 0;
  EXPECT_EQ(framesLogged(3), std::vector<int>{1});
  EXPECT_EQ(fields.skippedFrames(), 6U);
}

TEST_F(SegMaskOverlayPluginTest, ALineMovesTheNextTimeByTheIntervalAndFramesWithoutOneDoNot) {
  plugin.enableDebug(true);
  const uint64_t before = steadyNowNs();
  framesLogged(1);
  const uint64_t after = steadyNowNs();
  EXPECT_GE(fields.nextLogNs(), before + 2'000'000'000U);
  EXPECT_LE(fields.nextLogNs(), after + 2'000'000'000U);
  fields.nextLogNs() = kNever;
  framesLogged(1);
  EXPECT_EQ(fields.nextLogNs(), kNever);
}

TEST_F(SegMaskOverlayPluginTest, ADrawnFrameLeavesTheNextTimeAlone) {
  plugin.enableDebug(true);
  fields.nextLogNs() = kNever;
  Frame frame(payload(detection(kWholeFrame)));
  plugin.render(frame.ctx);
  EXPECT_NE(frame.ctx.picture.writable, nullptr);
  EXPECT_EQ(fields.nextLogNs(), kNever);
}

TEST_F(SegMaskOverlayPluginTest, ALineWrittenOnCountMovesTheNextTimeToo) {
  plugin.enableDebug(true);
  fields.skippedFrames() = 59;
  fields.nextLogNs() = kNever;
  const uint64_t before = steadyNowNs();
  EXPECT_EQ(framesLogged(1), std::vector<int>{1});
  const uint64_t after = steadyNowNs();
  EXPECT_GE(fields.nextLogNs(), before + 2'000'000'000U);
  EXPECT_LE(fields.nextLogNs(), after + 2'000'000'000U);
}

TEST_F(SegMaskOverlayPluginTest, TheNextTimeCountsFromBeforeThePayloadsAreResolved) {
  plugin.enableDebug(true);
  Frame frame("{}");
  uint64_t resolved = 0;
  frame.resolver.resolve = [&resolved](uint64_t, const SwAny& stored) {
    resolved = steadyNowNs();
    while (steadyNowNs() == resolved) {
    }
    return stored;
  };
  EXPECT_NE(logOf(frame), "");
  EXPECT_LE(fields.nextLogNs(), resolved + 2'000'000'000U);
}

TEST_F(SegMaskOverlayPluginTest, OnlyFramesChangeTheRunTheNextTimeAndTheDeviceBuffer) {
  Frame frame(payload(detection(kWholeFrame)));
  plugin.render(frame.ctx);
  void* const buffer = mask_buffer.deviceMask();
  EXPECT_NE(buffer, nullptr);
  fields.skippedFrames() = 5;
  fields.nextLogNs() = kNever;
  plugin.init({&backend});
  plugin.enableDebug(true);
  plugin.enableDebug(false);
  plugin.setConfig("{\"alpha\": 0.5}");
  EXPECT_EQ(fields.skippedFrames(), 5U);
  EXPECT_EQ(fields.nextLogNs(), kNever);
  EXPECT_EQ(mask_buffer.deviceMask(), buffer);
  EXPECT_EQ(mask_buffer.deviceMaskBytes(), 32U);
}

TEST_F(SegMaskOverlayPluginTest, ACountIntervalOf0LeavesTheFirstFrameAndTheTimeAlone) {
  plugin.enableDebug(true);
  fields.logIntervalMs() = 3'600'000;
  fields.logEveryN() = 0;
  EXPECT_EQ(framesLogged(121), std::vector<int>{1});
}

TEST_F(SegMaskOverlayPluginTest, WithDebugOffNothingIsWrittenButFramesCount) {
  EXPECT_EQ(framesLogged(61), std::vector<int>{});
  EXPECT_EQ(fields.skippedFrames(), 61U);
  EXPECT_EQ(fields.nextLogNs(), 0U);
  plugin.enableDebug(true);
  fields.nextLogNs() = kNever;
  EXPECT_EQ(framesLogged(1), std::vector<int>{});  // the 62nd
  plugin.enableDebug(false);
  EXPECT_EQ(framesLogged(58), std::vector<int>{});
}

TEST_F(SegMaskOverlayPluginTest, AnyFrameWithDetectionsEndsTheRunEvenIfNothingIsDrawn) {
  plugin.enableDebug(true);
  fields.logIntervalMs() = 3'600'000;
  framesLogged(2);
  Frame undrawable(payload(detection(kWholeFrame, "1", "no mask")));
  EXPECT_EQ(logOf(undrawable), "");
  EXPECT_EQ(fields.skippedFrames(), 0U);
  EXPECT_EQ(framesLogged(1), std::vector<int>{1});
}

TEST_F(SegMaskOverlayPluginTest, DetectionsForAPictureWithoutSizeEndTheRunToo) {
  framesLogged(2);
  Frame frame(payload(detection(kWholeFrame)));
  frame.ctx.picture.source = std::make_shared<zelvo::ZelvoPicture>();
  plugin.render(frame.ctx);
  EXPECT_EQ(fields.skippedFrames(), 0U);
}

TEST_F(SegMaskOverlayPluginTest, DetectionsForAPictureThatIsLostEndTheRunToo) {
  framesLogged(2);
  Frame frame(payload(detection(kWholeFrame)));
  frame.losePictureWhenResolved();
  EXPECT_THROW(plugin.render(frame.ctx), std::runtime_error);
  EXPECT_EQ(fields.skippedFrames(), 0U);
}

TEST_F(SegMaskOverlayPluginTest, ALargerPictureInAContextThatMapsASmallerOneIsNotDrawnOn) {
  Frame frame(payload(detection("\"x\": 0, \"y\": 0, \"w\": 16, \"h\": 16")));
  plugin.render(frame.ctx);
  const std::vector<uint8_t> before = frame.pixels();
  const zelvo::RenderTarget* target = frame.ctx.render_target.get();

  const auto larger = std::make_shared<zelvo::ZelvoPicture>(16, 16);
  const std::shared_ptr<zelvo::ZelvoPicture> mapped = frame.ctx.picture.writable;
  frame.ctx.picture.writable = larger;
  plugin.render(frame.ctx);
  frame.ctx.picture.writable = mapped;
  EXPECT_EQ(frame.pixels(), before);
  EXPECT_EQ(frame.ctx.render_target.get(), target);
  EXPECT_TRUE(frame.ctx.guard_active);
}

}  // namespace
