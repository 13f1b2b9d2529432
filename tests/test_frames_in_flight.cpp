// Frames that follow each other without anybody waiting, as in a pipeline that runs ahead of its GPU.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "test_support/Camera.h"
#include "test_support/plugin_harness.h"

namespace {

using plugin_test::Camera;

constexpr unsigned kCameras = 6;
constexpr unsigned kFramesEach = 40;

// Each instance reuses one mask buffer for all items of all its frames, and host memory at once after each
// upload: stream order alone keeps them apart.
TEST(FramesInFlight, OfSeveralInstancesOnStreamsOfTheirOwnAreDrawnAsIfEachWereAlone) {
  if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  std::vector<std::unique_ptr<Camera>> cameras;
  for (unsigned i = 0; i < kCameras; ++i) {
    cameras.push_back(
        std::make_unique<Camera>(plugin_test::scenesByFallingSize(10000 + 1000 * i, kFramesEach)));
  }
  for (unsigned frame = 0; frame < kFramesEach; ++frame) {
    for (const auto& camera : cameras) camera->render(frame);
  }
  for (unsigned frame = 0; frame < kFramesEach; ++frame) {
    for (const auto& camera : cameras) EXPECT_TRUE(camera->drewAsModelled(frame));
    if (HasFailure()) break;
  }
}

}  // namespace
