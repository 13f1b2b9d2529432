#include "overlay_item.h"

#include <algorithm>
#include <utility>

namespace seg_mask_overlay {

std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore) {
  std::vector<OverlayItem> items;
  items.reserve(detections.size());
  for (const DetView& detection : detections) {
    if (detection.score < minScore) continue;
    std::optional<MaskBits> mask = decodeMaskText(detection.class_info);
    if (!mask) continue;
    items.push_back({std::move(*mask),
                     {detection.x, detection.y, detection.w, detection.h},
                     classColor(detection.class_id)});
  }
  return items;
}

std::optional<LumaRect> clipBox(const Box& box, int width, int height) {
  const int64_t x0 = std::max<int64_t>(box.x, 0);
  const int64_t y0 = std::max<int64_t>(box.y, 0);
  const int64_t x1 = std::min<int64_t>(int64_t{box.x} + box.w, width) - 1;
  const int64_t y1 = std::min<int64_t>(int64_t{box.y} + box.h, height) - 1;
  if (x1 < x0 || y1 < y0) return std::nullopt;
  return LumaRect{static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1), static_cast<int>(y1)};
}

}  // namespace seg_mask_overlay
