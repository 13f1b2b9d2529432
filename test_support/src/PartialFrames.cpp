#include "test_support/PartialFrames.h"

#include "test_support/model/scene_frame.h"

namespace plugin_test {

PartialFrames::PartialFrames(const scene::Scene& scene)
    : luma_bytes_(static_cast<std::ptrdiff_t>(scene.width) * scene.height) {
  const std::vector<scene::Detection> all = model::gather(scene).detections;
  for (unsigned drawn = 0; drawn < 1U << all.size(); ++drawn) {
    std::vector<scene::Detection> some;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if ((drawn >> i & 1U) != 0) some.push_back(all[i]);
    }
    const std::vector<uint8_t> frame = model::frameWith(scene, some);
    luma_.emplace(frame.begin(), frame.begin() + luma_bytes_);
    chroma_.emplace(frame.begin() + luma_bytes_, frame.end());
  }
}

bool PartialFrames::include(const std::vector<uint8_t>& frame) const {
  return luma_.count({frame.begin(), frame.begin() + luma_bytes_}) == 1 &&
         chroma_.count({frame.begin() + luma_bytes_, frame.end()}) == 1;
}

}  // namespace plugin_test
