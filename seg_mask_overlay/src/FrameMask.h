#pragma once

#include <opencv2/core.hpp>

#include "mask_text.h"

namespace seg_mask_overlay {

/// A frame-sized mask in host memory, filled for one detection after another. Between two of them it keeps
/// that memory alone, however large a producer's own masks are.
class FrameMask {
 public:
  /// Scales `mask` to the whole frame by nearest-neighbour sampling and returns width * height bytes, row by
  /// row without padding: 255 inside, 0 outside. Valid until the next call. Throws std::bad_alloc when memory
  /// runs out.
  const unsigned char* fill(const MaskBits& mask, int width, int height);

 private:
  cv::Mat frame_;
};

}  // namespace seg_mask_overlay
