#include "test_support/PartialFrames.h"

#include "test_support/golden_model.h"

namespace plugin_test {

PartialFrames::PartialFrames(const scene::Scene& scene)
    : luma_bytes_(static_cast<std::ptrdiff_t>(scene.width) * scene.height) {
  const std::vector<scene::Detection> all = golden::gather(scene).detections;
  for (unsigned drawn = 0; drawn < 1U << all.size(); ++drawn) {
    std::vector<uint8_t> frame = scene.frame;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if ((drawn >> i & 1U) == 0) continue;
      golden::draw(frame, scene.width, scene.height, all[i], scene.settings.alpha);
    }
    luma_.emplace(frame.begin(), frame.begin() + luma_bytes_);
    chroma_.emplace(frame.begin() + luma_bytes_, frame.end());
  }
}

bool PartialFrames::include(const std::vector<uint8_t>& frame) const {
  return luma_.count({frame.begin(), frame.begin() + luma_bytes_}) == 1 &&
         chroma_.count({frame.begin() + luma_bytes_, frame.end()}) == 1;
}

}  // namespace plugin_test
