#pragma once

#include <cstddef>

#include "mask/mask_bits.h"

namespace seg_mask {

/// The pixels of one row where a mask begins or ends, first to last. The row begins outside, so the first of
/// them is inside.
struct RowEdges {
  /// The rows of a silhouette have few edges. In a row with more, the runs are too short for a memset each.
  static constexpr int kCapacity = 32;

  int count = 0;
  int pixels[kCapacity];
};

/// Finds the edges of `row`. False when there are more than RowEdges holds; `edges` is not valid then.
bool findEdges(const MaskView& mask, int row, RowEdges& edges);

/// Writes the mask.width pixels of `row`, each as a byte: 255 inside, 0 outside.
void expandRow(const MaskView& mask, int row, unsigned char* bytes);

/// Writes the `count` pixels of `row` at `columns`, each as a byte: 255 inside, 0 outside.
void sampleRow(const MaskView& mask, int row, const int* columns, std::size_t count, unsigned char* bytes);

}  // namespace seg_mask
