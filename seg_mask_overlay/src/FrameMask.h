#pragma once

#include <cstddef>
#include <vector>

#include "mask/mask_bits.h"
#include "mask/mask_rows.h"
#include "mask/nearest_map.h"

namespace seg_mask_overlay {

/// A frame-sized mask in host memory, filled for one detection after another. Between detections it keeps
/// that memory and a few bytes for each row and column of the frame, however large the producers' masks are.
class FrameMask {
 public:
  /// Scales `mask` to the whole frame by nearest-neighbour sampling, as cv::resize does, and returns
  /// width * height bytes, row by row without padding: 255 inside, 0 outside. Valid until the next call.
  /// Throws std::bad_alloc when memory runs out.
  const unsigned char* fill(const seg_mask::MaskView& mask, int width, int height);

 private:
  void makeRoom(std::size_t bytes);
  void fillRow(const seg_mask::MaskView& mask, int maskRow, unsigned char* bytes);
  void fillRuns(const seg_mask::RowEdges& edges, unsigned char* bytes) const;

  std::vector<unsigned char> frame_;
  seg_mask::NearestMap columns_;
  seg_mask::NearestMap rows_;
  std::vector<unsigned char> row_scratch_;  ///< of sampleDenseRow
};

}  // namespace seg_mask_overlay
