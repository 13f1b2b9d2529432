#pragma once

#include <cstddef>
#include <cstdint>

#include "mask/mask_bits.h"

namespace seg_mask {

/// Successive pixels of one row in packed bits. The bits behind the last of `size` bytes are not read.
struct PackedRow {
  const uint8_t* bits;
  std::size_t size;   ///< bytes
  std::size_t first;  ///< bit of the first pixel, counted from the lowest bit of the first byte
  std::size_t count;  ///< pixels, at least 1
};

/// All pixels of a row of the mask.
PackedRow packedRow(const MaskView& mask, int row);

/// The pixels of one row where a mask begins or ends, first to last. The row begins outside, so the first of
/// them is inside.
struct RowEdges {
  /// The rows of a silhouette have few edges. In a row with more, the runs are too short for a memset each.
  static constexpr int kCapacity = 32;

  int count = 0;
  int pixels[kCapacity];
};

/// Finds the edges of `row`, by pixels from its first. False when there are more than RowEdges holds; `edges`
/// is not valid then.
bool findEdges(const PackedRow& row, RowEdges& edges);

/// Writes the pixels of `row`, each as a byte: 255 inside, 0 outside.
void expandRow(const PackedRow& row, unsigned char* bytes);

/// Writes the `count` pixels of `row` at `columns`, each as a byte: 255 inside, 0 outside. The row's first
/// pixel is at column `firstColumn`.
void sampleRow(const PackedRow& row, const int* columns, std::size_t count, int firstColumn,
               unsigned char* bytes);

/// The scratch memory of sampleDenseRow for `count` columns, in bytes.
constexpr std::size_t denseRowScratch(std::size_t count) {
  return 4 * (count + 1);
}

/// The same, faster where the row has no more than about four pixels for each column: it is expanded into
/// `scratch` first.
void sampleDenseRow(const PackedRow& row, const int* columns, std::size_t count, int firstColumn,
                    unsigned char* scratch, unsigned char* bytes);

}  // namespace seg_mask
