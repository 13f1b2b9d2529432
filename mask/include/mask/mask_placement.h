#pragma once

#include "mask/mask_bits.h"

namespace seg_mask {

/// The part of a frame that a mask belongs to, in frame pixels: the mask of a box, or that of a network that
/// sees the frame between bars. It may reach outside the frame. Both dimensions are at least 1.
struct MaskPlacement {
  int x;
  int y;
  int w;
  int h;
};

/// A mask of `width` x `height` pixels, both at least 1, that shows `mask` in the rectangle `at` and is
/// outside everywhere else. Column x shows the mask's column floor((x - at.x) * mask.width / at.w), and a row
/// alike: nearest-neighbour sampling in whole numbers, so that it is the same on every machine. Throws
/// std::bad_alloc when memory runs out.
MaskBits placeMask(const MaskView& mask, const MaskPlacement& at, int width, int height);

}  // namespace seg_mask
