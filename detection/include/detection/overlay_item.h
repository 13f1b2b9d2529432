#pragma once

#include <vector>

#include "detection/class_color.h"
#include "detection/detections.h"
#include "mask/mask_text.h"
#include "render_base/geometry.h"

namespace seg_mask {

/// One detection that can be drawn. Keeps its mask as the small bits of the text; pixels are made when it is
/// drawn.
struct OverlayItem {
  MaskBits mask;
  render_base::Box box;
  YuvColor color;
};

/// The drawable ones of `detections`, in their order: those whose score is not below `minScore` (one that is
/// no number is not) and whose text is a valid mask.
std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore);

}  // namespace seg_mask
