#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "class_color.h"
#include "detections.h"
#include "mask_text.h"
#include "overlay_geometry.h"

namespace seg_mask_overlay {

/// A box in frame pixels, as a producer gave it: any numbers.
struct Box {
  int32_t x, y, w, h;
};

/// One detection that can be drawn. Keeps its mask as the small bits of the text; pixels are made when it is
/// drawn.
struct OverlayItem {
  MaskBits mask;
  Box box;
  YuvColor color;
};

/// The drawable ones of `detections`, in their order: those whose score is not below `minScore` (one that is
/// no number is not) and whose text is a valid mask.
std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore);

/// The pixels of the box that lie within a width x height frame; nothing when there are none. The arithmetic
/// is that of whole numbers without end: x + w never wraps.
std::optional<LumaRect> clipBox(const Box& box, int width, int height);

}  // namespace seg_mask_overlay
