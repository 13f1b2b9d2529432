#include "detection/overlay_item.h"

#include <optional>

#include "mask/nearest_map.h"

namespace seg_mask {

Outcome makeOverlayItem(const DetView& detection, float minScore, MaskArena& arena, OverlayItem& item,
                        MaskTextFault* fault) {
  if (isBelow(detection, minScore)) return Outcome::LowScore;
  const std::optional<MaskView> mask = decodeMaskText(detection.class_info, arena, fault);
  if (!mask) return Outcome::InvalidMask;
  item = {*mask, {detection.x, detection.y, detection.w, detection.h}, classColor(detection.class_id)};
  return Outcome::Drawn;
}

std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore,
                                          MaskArena& arena) {
  std::size_t room = 0;
  for (const DetView& detection : detections) {
    if (!isBelow(detection, minScore)) room += maskTextRoom(detection.class_info);
  }
  arena.beginFrame(room);

  std::vector<OverlayItem> items;
  items.reserve(detections.size());
  OverlayItem item{};
  for (const DetView& detection : detections) {
    if (makeOverlayItem(detection, minScore, arena, item) == Outcome::Drawn) items.push_back(item);
  }
  return items;
}

DrawnPixels countDrawnPixels(const OverlayItem& item, render_base::FrameSize frame) {
  const std::optional<render_base::LumaRect> rect = render_base::clipBox(item.box, frame);
  if (!rect) return {Outcome::BoxOutside, 0};
  NearestMap columns;
  NearestMap rows;
  columns.prepare(item.mask.width, frame.width);
  rows.prepare(item.mask.height, frame.height);
  std::size_t count = 0;
  for (int y = rect->y0; y <= rect->y1; ++y) {
    const auto firstPixel = static_cast<std::size_t>(rows.maskPixels()[static_cast<std::size_t>(y)]) *
                            static_cast<std::size_t>(item.mask.width);
    for (int x = rect->x0; x <= rect->x1; ++x) {
      const auto column = static_cast<std::size_t>(columns.maskPixels()[static_cast<std::size_t>(x)]);
      if (item.mask.inside(firstPixel + column)) ++count;
    }
  }
  return {count > 0 ? Outcome::Drawn : Outcome::NoPixelInBox, count};
}

}  // namespace seg_mask
