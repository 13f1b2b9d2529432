#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "detection/class_color.h"
#include "detection/detections.h"
#include "detection/outcome.h"
#include "mask/MaskArena.h"
#include "mask/NearestMapCache.h"
#include "mask/mask_text.h"
#include "render_base/geometry.h"

namespace seg_mask {

/// One detection that can be drawn. Its mask stays in the packed bits of the text until it is drawn.
struct OverlayItem {
  MaskView mask;  ///< lies in the arena of the frame
  render_base::Box box;
  YuvColor color;
};

/// Decides by score and mask text whether `detection` can be drawn. Returns Drawn, with `item` filled in and
/// its mask in memory of the arena; LowScore; or InvalidMask, with the reason in `fault` where that is not
/// null. A NaN score is not below any threshold.
Outcome makeOverlayItem(const DetView& detection, float minScore, MaskArena& arena, OverlayItem& item,
                        MaskTextFault* fault = nullptr);

/// The drawable detections, in the order of `detections`. Begins a new frame of the arena. Throws
/// std::bad_alloc when memory runs out.
std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore,
                                          MaskArena& arena);

/// The effect of drawing an item.
struct DrawnPixels {
  Outcome outcome;    ///< Drawn, BoxOutside or NoPixelInBox
  std::size_t count;  ///< luma pixels of the mask within box and frame
};

/// Counts the pixels that drawing an item changes. For tools that report what was drawn; drawing itself does
/// not count. Keeps the maps of the mask sizes that it met last, so a tool keeps one for all of its frames.
class DrawnPixelCounter {
 public:
  /// The pixels of `item` on a frame of that size, which is not empty. The count ends with the row of the
  /// frame by which it has reached `limit`; 1 is enough to know whether there is any. Throws std::bad_alloc
  /// when memory runs out.
  DrawnPixels count(const OverlayItem& item, render_base::FrameSize frame,
                    std::size_t limit = std::numeric_limits<std::size_t>::max());

 private:
  NearestMapCache columns_;
  NearestMapCache rows_;
};

}  // namespace seg_mask
