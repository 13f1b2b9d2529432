#pragma once

#include <memory>
#include <vector>

#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace plugin_test {

/// One camera of a pipeline: an instance of the plug-in on a stream of its own, and frames for it to draw.
class Camera {
 public:
  /// The frames and their writable copies are on the device when this returns, so that rendering queues work
  /// and waits for nothing.
  explicit Camera(std::vector<scene::Scene> scenes);

  std::size_t frames() const { return frames_.size(); }
  cudaStream_t stream() const { return host_.stream(); }

  /// Hands one frame to the plug-in, with its scene's settings.
  void render(std::size_t frame);

  /// Waits for this camera's stream and compares the frame with the model.
  ::testing::AssertionResult drewAsModelled(std::size_t frame) const;

 private:
  Host host_;
  std::vector<scene::Scene> scenes_;
  std::vector<std::unique_ptr<Frame>> frames_;
};

/// Random scenes of consecutive seeds, the largest frame first, so that no device buffer has to grow later.
std::vector<scene::Scene> scenesByFallingSize(unsigned firstSeed, unsigned count);

}  // namespace plugin_test
