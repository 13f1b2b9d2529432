#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "mask/mask_bits.h"

namespace seg_mask {

/// A mask that is described by where it changes on the way down its columns. Every column begins outside.
/// Run lengths and the sides of a polygon are a few edges in each column, so only these are touched one by
/// one; the pixels between them are filled 64 at a time.
class ColumnEdges {
 public:
  /// Both dimensions are at least 1. Throws std::bad_alloc when memory runs out.
  ColumnEdges(int width, int height);

  /// Lets `column` change between outside and inside at `row`, 0 to height; one at height changes nothing.
  /// Two edges at one pixel are none.
  void toggle(int column, int row);

  /// The mask; this object is used up.
  MaskBits fill() &&;

 private:
  uint64_t word(std::size_t number) const;
  uint64_t wordOneRowUp(std::size_t number) const;

  int width_;
  int height_;
  std::vector<uint8_t> bits_;  ///< the edges, as a mask's bits, in whole words
};

}  // namespace seg_mask
