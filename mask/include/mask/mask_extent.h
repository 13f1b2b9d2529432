#pragma once

#include <cstdint>

#include "mask/mask_bits.h"

namespace seg_mask {

/// How much of a mask is inside, and where.
struct MaskExtent {
  uint64_t pixels = 0;  ///< that are inside
  int x = 0;            ///< the smallest box around them, in mask pixels; all 0 when there are none
  int y = 0;
  int w = 0;
  int h = 0;
};

MaskExtent extentOf(const MaskView& mask);

}  // namespace seg_mask
