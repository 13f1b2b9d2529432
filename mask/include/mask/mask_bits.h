#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace seg_mask {

/// A binary mask in memory that it does not own, one bit per pixel: row by row without padding, the least
/// significant bit of a byte first. Both dimensions are at least 1, and `size` is at least the (width *
/// height + 7) / 8 bytes that they need. Bits behind the last pixel have no meaning.
struct MaskView {
  int width;
  int height;
  const uint8_t* bits;
  std::size_t size;  ///< bytes

  bool inside(std::size_t pixel) const { return ((bits[pixel / 8] >> (pixel % 8)) & 1U) != 0; }
};

/// The same with memory of its own.
struct MaskBits {
  int width;
  int height;
  std::vector<uint8_t> bits;

  operator MaskView() const { return {width, height, bits.data(), bits.size()}; }
  bool inside(std::size_t pixel) const { return MaskView(*this).inside(pixel); }
};

/// Packs `height` rows of `width` bytes, `stride` bytes from one row to the next: any non-zero byte is
/// inside. Both dimensions are at least 1. Throws std::bad_alloc when memory runs out.
MaskBits packMask(const unsigned char* pixels, int width, int height, std::ptrdiff_t stride);

}  // namespace seg_mask
