#include "detection/overlay_item.h"

#include <optional>
#include <utility>

namespace seg_mask {

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

}  // namespace seg_mask
