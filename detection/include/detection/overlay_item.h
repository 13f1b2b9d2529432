#pragma once

#include <cstddef>
#include <vector>

#include "detection/class_color.h"
#include "detection/detections.h"
#include "detection/outcome.h"
#include "mask/MaskArena.h"
#include "mask/mask_text.h"
#include "render_base/geometry.h"

namespace seg_mask {

/// One detection that can be drawn. Keeps its mask as the packed bits of the text; pixels are made when it is
/// drawn.
struct OverlayItem {
  MaskView mask;  ///< lies in the arena of the frame
  render_base::Box box;
  YuvColor color;
};

/// Decides by score and mask text whether `detection` can be drawn: Drawn, and then `item` is filled with a
/// mask in memory of the arena, LowScore or InvalidMask, and then `fault`, where it is not null, says why. A
/// score that is NaN is not below any threshold.
Outcome makeOverlayItem(const DetView& detection, float minScore, MaskArena& arena, OverlayItem& item,
                        MaskTextFault* fault = nullptr);

/// The drawable ones of `detections`, in their order. Begins a new frame of the arena. Throws std::bad_alloc
/// when memory runs out.
std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore,
                                          MaskArena& arena);

/// What drawing makes of an item.
struct DrawnPixels {
  Outcome outcome;    ///< Drawn, BoxOutside or NoPixelInBox
  std::size_t count;  ///< luma pixels of the mask within box and frame
};

/// Counts what drawing `item` on a frame of that size, which is not empty, touches: for tools that say what
/// was drawn. Drawing itself does not count. Throws std::bad_alloc when memory runs out.
DrawnPixels countDrawnPixels(const OverlayItem& item, render_base::FrameSize frame);

}  // namespace seg_mask
