// The line that skipped frames write to the standard error stream while debugging is on: its text, and when
// it comes.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ios>
#include <iostream>
#include <streambuf>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "test_support/StderrCapture.h"
#include "test_support/model/scene_frame.h"
#include "test_support/model/skip_line.h"
#include "test_support/plugin_harness.h"
#include "test_support/random_scene.h"
#include "test_support/scene.h"

namespace {

using plugin_test::Frame;
using plugin_test::standardErrorOf;
using scene::Input;
using scene::Scene;

Input delivery(std::string producer, scene::PayloadForm form, bool uses_lookback) {
  Input input;
  input.producer = std::move(producer);
  input.form = form;
  input.uses_lookback = uses_lookback;
  return input;
}

class FallbackLine : public plugin_test::PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    if (!IsSkipped()) host().plugin()->enableDebug(true);
  }

  // What one pass over the scene writes.
  std::string written(const Scene& scene, uint64_t frame_id = 1) {
    return standardErrorOf([&] {
      Frame frame(scene, host().stream());
      frame.context().frame_id = frame_id;
      host().render(frame);
    });
  }

  // The numbers, counted from `first`, of those of the next `count` empty frames that wrote a line.
  std::vector<int> framesThatWrite(int first, int count) {
    std::vector<int> numbers;
    for (int i = first; i < first + count; ++i) {
      if (!written(empty_).empty()) numbers.push_back(i);
    }
    return numbers;
  }

  Scene empty_ = scene::oneProducer(2, 2, {});
  Scene full_ = scene::oneProducer(2, 2, {scene::coverAll(2, 2)});
};

TEST_F(FallbackLine, CountsProducersWithoutDetections) {
  // Two reported ones without inputs, one whose input has no payload, one whose list is empty.
  Scene scene = empty_;
  scene.reported = {"front", "rear", "front"};
  scene.inputs = {delivery("side", scene::PayloadForm::absent, false),
                  delivery("top", scene::PayloadForm::object, false)};
  EXPECT_EQ(written(scene, 1042), model::skipLine(1042, 4, 0));
}

TEST_F(FallbackLine, ComesInOnePiece) {
  const StderrCapture captured;
  Frame frame(empty_, host().stream());
  host().render(frame);
  EXPECT_EQ(captured.text(), model::skipLine(frame.context().frame_id, 1, 0));
  EXPECT_EQ(captured.writes(), 1);
}

// Takes nothing, like a full disk.
class FullBuffer : public std::streambuf {
  std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
};

TEST_F(FallbackLine, IsLostWhereTheStreamTakesNothingThoughTheHostLetsStreamsThrow) {
  Frame frame(full_, host().stream());
  frame.inputs()[0].payload = SwAny();
  FullBuffer full;
  std::streambuf* const before = std::cerr.rdbuf(&full);
  std::cerr.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  EXPECT_NO_THROW(host().render(frame));
  EXPECT_TRUE(std::cerr.bad());
  std::cerr.exceptions(std::ios_base::goodbit);
  std::cerr.clear();
  std::cerr.rdbuf(before);
  EXPECT_EQ(written(empty_), "") << "a lost line was the run's first";
}

TEST_F(FallbackLine, CountsLookbackOnceAProducer) {
  Scene scene = empty_;
  scene.inputs = {
      delivery("a", scene::PayloadForm::object, true), delivery("a", scene::PayloadForm::absent, true),
      delivery("b", scene::PayloadForm::object, false), delivery("b", scene::PayloadForm::text, true),
      delivery("c", scene::PayloadForm::text, false)};
  EXPECT_EQ(written(scene, 7), model::skipLine(7, 3, 2));
}

TEST_F(FallbackLine, NobodyToMissIsAFrameToo) {
  Scene scene = empty_;
  scene.inputs.clear();
  EXPECT_EQ(written(scene, UINT64_MAX), model::skipLine(UINT64_MAX, 0, 0));
}

TEST_F(FallbackLine, ContextsWithoutListsAreSkippedFrames) {
  EXPECT_EQ(standardErrorOf([&] {
              Frame frame(empty_, host().stream());
              frame.context().frame_id = 0;
              frame.context().inputs = nullptr;
              frame.context().producer_statuses = nullptr;
              host().render(frame);
            }),
            model::skipLine(0, 0, 0));
}

TEST_F(FallbackLine, CountsWhatAHostsOwnViewLists) {
  // Not in the map, an empty list, a list of nothing, and an unnamed one that does not count.
  EXPECT_EQ(standardErrorOf([&] {
              Frame frame(empty_, host().stream());
              RenderProducerTypeView& view = frame.context().producer_views[plugin_test::kDetections];
              view.producers = {"absent", "", "idle", "nulls"};
              view.inputsByProducer["idle"];
              view.inputsByProducer["nulls"] = {nullptr, nullptr};
              host().render(frame);
            }),
            model::skipLine(1, 3, 0));
}

TEST_F(FallbackLine, CountsAsTheModelDoesInRandomFrames) {
  unsigned compared = 0;
  for (unsigned seed = 1; seed <= 150; ++seed) {
    Scene scene = scene::randomScene(seed);
    for (Input& input : scene.inputs) input.detections.clear();
    const model::Gathering gathered = model::gather(scene);
    if (gathered.missing > 0 && gathered.lookback > 0) ++compared;
    // A frame with detections before each, so that each is the first of its run.
    ASSERT_EQ(written(full_), "");
    ASSERT_EQ(written(scene, seed), model::skipLine(seed, gathered.missing, gathered.lookback))
        << "seed " << seed << scene;
  }
  EXPECT_GE(compared, 30U);
}

TEST_F(FallbackLine, FramesWithDetectionsWriteNothing) {
  EXPECT_EQ(written(full_), "");
  Scene scene = full_;
  scene.reported = {"absent"};
  scene.inputs[0].uses_lookback = true;
  EXPECT_EQ(written(scene), "");
}

TEST_F(FallbackLine, DetectionsThatAreNotDrawnWriteNothing) {
  Scene scene = full_;
  scene.inputs[0].detections[0].mask = "broken";
  EXPECT_EQ(written(scene), "");
}

TEST_F(FallbackLine, NothingIsWrittenWithoutDebugging) {
  host().plugin()->enableDebug(false);
  EXPECT_EQ(framesThatWrite(1, 65), std::vector<int>{});
}

TEST_F(FallbackLine, IsOffInANewInstance) {
  const plugin_test::LoadedPlugin plugin;
  RenderInit init;
  init.backend = &host().backend();
  plugin->init(init);
  EXPECT_EQ(standardErrorOf([&] {
              Frame frame(empty_, host().stream());
              plugin->render(frame.context());
            }),
            "");
}

// A run is counted from its first frame; 2 s pass between no two of its lines here, or the time rule would
// add some.
TEST_F(FallbackLine, ComesAtTheFirstAndEverySixtiethFrameOfARun) {
  const auto start = std::chrono::steady_clock::now();
  const std::vector<int> numbers = framesThatWrite(1, 185);
  if (std::chrono::steady_clock::now() - start >= std::chrono::seconds(2)) {
    GTEST_SKIP() << "too slow a machine to tell the count rule from the time rule";
  }
  EXPECT_EQ(numbers, (std::vector<int>{1, 60, 120, 180}));
}

TEST_F(FallbackLine, ComesAgainOnceTwoSecondsHavePassed) {
  EXPECT_NE(written(empty_), "");
  std::this_thread::sleep_for(std::chrono::milliseconds(2001));
  EXPECT_NE(written(empty_), "");
  const auto start = std::chrono::steady_clock::now();
  const std::string third = written(empty_);
  if (std::chrono::steady_clock::now() - start < std::chrono::seconds(1)) {
    EXPECT_EQ(third, "");
  }
}

TEST_F(FallbackLine, DetectionsStartANewRun) {
  EXPECT_EQ(framesThatWrite(1, 1), std::vector<int>{1});
  EXPECT_EQ(written(full_), "");
  EXPECT_EQ(framesThatWrite(1, 1), std::vector<int>{1});
}

TEST_F(FallbackLine, DetectionsThatAreNotDrawnStartANewRunToo) {
  Scene low = full_;
  low.settings.min_score = 0.5F;
  low.inputs[0].detections[0].score = 0.25F;
  host().configure(low.settings);
  EXPECT_EQ(framesThatWrite(1, 1), std::vector<int>{1});
  EXPECT_EQ(written(low), "");
  EXPECT_EQ(framesThatWrite(1, 1), std::vector<int>{1});
}

TEST_F(FallbackLine, RunIsCountedWithDebuggingOffToo) {
  EXPECT_EQ(framesThatWrite(1, 1), std::vector<int>{1});
  host().plugin()->enableDebug(false);
  EXPECT_EQ(framesThatWrite(2, 58), std::vector<int>{});
  host().plugin()->enableDebug(true);
  EXPECT_EQ(framesThatWrite(60, 1), std::vector<int>{60});
}

TEST_F(FallbackLine, FramesWithoutASourceAreNoPartOfARun) {
  EXPECT_EQ(framesThatWrite(1, 1), std::vector<int>{1});
  EXPECT_EQ(standardErrorOf([&] {
              Frame frame(full_, host().stream());
              frame.context().picture.source = nullptr;
              host().render(frame);
            }),
            "");
  EXPECT_EQ(framesThatWrite(2, 1), std::vector<int>{});
}

}  // namespace
