#include "test_support/Camera.h"

#include <algorithm>
#include <utility>

#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/random_scene.h"

namespace plugin_test {

Camera::Camera(std::vector<scene::Scene> scenes) : scenes_(std::move(scenes)) {
  for (const scene::Scene& scene : scenes_) {
    frames_.push_back(std::make_unique<Frame>(scene, host_.stream()));
    frames_.back()->context().picture.ensureWritablePicShared();
  }
}

void Camera::render(std::size_t frame) {
  host_.configure(scenes_[frame].settings);
  host_.render(*frames_[frame]);
}

::testing::AssertionResult Camera::drewAsModelled(std::size_t frame) const {
  return sameFrame(scenes_[frame], model::expectedFrame(scenes_[frame]), frames_[frame]->pixels());
}

std::vector<scene::Scene> scenesByFallingSize(unsigned firstSeed, unsigned count) {
  std::vector<scene::Scene> scenes;
  for (unsigned i = 0; i < count; ++i) scenes.push_back(scene::randomScene(firstSeed + i));
  std::stable_sort(scenes.begin(), scenes.end(), [](const scene::Scene& a, const scene::Scene& b) {
    return a.width * a.height > b.width * b.height;
  });
  return scenes;
}

}  // namespace plugin_test
