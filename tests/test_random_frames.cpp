#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "test_support/frame_check.h"
#include "test_support/model/mask.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/random_scene.h"
#include "test_support/scene.h"

namespace {

constexpr unsigned kFrames = 2000;

class RandomFrames : public plugin_test::PluginTest {};

// One instance for all frames, as in a host: sizes go up and down, and nothing of one frame may reach the
// next.
TEST_F(RandomFrames, OneInstanceDrawsThemAllAsTheModelDoes) {
  for (unsigned seed = 1; seed <= kFrames; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expectGolden(scene::randomScene(seed));
    if (HasFailure()) break;  // one scene in full says more than hundreds
  }
}

// A second pass draws over what the first one left, on the same picture.
TEST_F(RandomFrames, PassesOverOnePictureAddUp) {
  for (unsigned seed = kFrames + 1; seed <= kFrames + 100; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    scene::Scene scene = scene::randomScene(seed);
    host().configure(scene.settings);
    plugin_test::Frame frame(scene, host().stream());
    host().render(frame);
    host().render(frame);
    const std::vector<uint8_t> source = scene.frame;
    scene.frame = model::expectedFrame(scene);
    EXPECT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
    EXPECT_TRUE(plugin_test::sameFrame(scene, source, frame.sourcePixels()));
    if (HasFailure()) break;
  }
}

// The sweep proves nothing about rules that its scenes do not reach.
TEST(RandomScenes, ReachTheRulesThatTheyAreMeantToTry) {
  unsigned drawn = 0;
  unsigned odd = 0;
  unsigned capped = 0;
  unsigned low_scores = 0;
  unsigned broken = 0;
  unsigned missing = 0;
  unsigned lookback = 0;
  for (unsigned seed = 1; seed <= kFrames; ++seed) {
    const scene::Scene scene = scene::randomScene(seed);
    const model::Gathering gathered = model::gather(scene);
    if (model::expectedFrame(scene) != scene.frame) ++drawn;
    if (scene.width % 2 == 1 || scene.height % 2 == 1) ++odd;
    if (gathered.detections.size() == static_cast<std::size_t>(scene.settings.cap)) ++capped;
    if (gathered.missing > 0) ++missing;
    if (gathered.lookback > 0) ++lookback;
    for (const scene::Detection& detection : gathered.detections) {
      if (detection.score < scene.settings.min_score) ++low_scores;
      if (!model::readMask(detection.mask)) ++broken;
    }
  }
  for (const unsigned count : {drawn, odd, capped, low_scores, broken, missing, lookback}) {
    EXPECT_GE(count, kFrames / 10);
  }
}

}  // namespace
