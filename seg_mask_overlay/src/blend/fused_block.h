#pragma once

// What one thread of a fused launch draws. Shared by host and device code, which must agree to the byte.

#include <cstdint>

#include "blend/fused_frame.h"
#include "blend/nv12_blend.h"

namespace seg_mask_overlay {

/// Reads through the read-only data path on the device, what no thread of the launch writes.
template <class T>
RENDER_HOST_DEVICE T readOnly(const T* address) {
#ifdef __CUDA_ARCH__
  return __ldg(address);
#else
  return *address;
#endif
}

/// The same for a LumaRect or ChromaRect.
template <class Rect>
RENDER_HOST_DEVICE Rect readOnlyRect(const Rect* rect) {
  return {readOnly(&rect->x0), readOnly(&rect->y0), readOnly(&rect->x1), readOnly(&rect->y1)};
}

/// A block of 2x2 luma pixels and their chroma sample: bytes in registers, written back where they were
/// drawn.
class FusedBlock {
 public:
  /// The block whose top-left pixel is (x, y), both even and within the frame.
  RENDER_HOST_DEVICE FusedBlock(const FusedFrame& frame, int x, int y)
      : frame_(frame), x_(x), y_(y), right_(x + 1 < frame.size.width), below_(y + 1 < frame.size.height) {
    unsigned char* const above = lumaRow(0);
    luma_[0] = above[0];
    luma_[1] = right_ ? above[1] : 0;
    luma_[2] = below_ ? lumaRow(1)[0] : 0;
    luma_[3] = right_ && below_ ? lumaRow(1)[1] : 0;
  }

  /// Blends one item into the block and rounds to bytes.
  RENDER_HOST_DEVICE void draw(const FusedItem& item) {
    const LumaRect luma = readOnlyRect(&item.luma);
    const unsigned covered = coveredPixels(item, luma);
    if (covered == 0) return;
    const unsigned drawn = covered & pixelsWithin(luma);
    for (unsigned i = 0; i < 4; ++i) {
      if ((drawn >> i & 1U) != 0) luma_[i] = blendByte(luma_[i], readOnly(&item.colorY), frame_.alpha);
    }
    drawn_ |= drawn;
    // No block that shows the item lies left of its chroma or above it.
    const ChromaRect chroma = readOnlyRect(&item.chroma);
    if (x_ >> 1 >= chroma.x1 || y_ >> 1 >= chroma.y1) return;
    if ((drawn_ & kChroma) == 0) {
      u_ = chromaSample()[0];
      v_ = chromaSample()[1];
    }
    u_ = blendByte(u_, readOnly(&item.colorU), frame_.alpha);
    v_ = blendByte(v_, readOnly(&item.colorV), frame_.alpha);
    drawn_ |= kChroma;
  }

  RENDER_HOST_DEVICE void store() const {
    if ((drawn_ & 1U) != 0) lumaRow(0)[0] = luma_[0];
    if ((drawn_ & 2U) != 0) lumaRow(0)[1] = luma_[1];
    if ((drawn_ & 4U) != 0) lumaRow(1)[0] = luma_[2];
    if ((drawn_ & 8U) != 0) lumaRow(1)[1] = luma_[3];
    if ((drawn_ & kChroma) == 0) return;
    chromaSample()[0] = u_;
    chromaSample()[1] = v_;
  }

 private:
  static constexpr unsigned kChroma = 16;  ///< of drawn_, after a bit for each pixel

  RENDER_HOST_DEVICE unsigned char* lumaRow(int row) const {
    return frame_.yPlane + sampleOffset(y_ + row, frame_.yPitch, x_);
  }

  RENDER_HOST_DEVICE unsigned char* chromaSample() const {
    return frame_.uvPlane + sampleOffset(y_ >> 1, frame_.uvPitch, x_);
  }

  /// A bit for each pixel of the block that lies within `rect`: the upper row's two, then the lower row's.
  RENDER_HOST_DEVICE unsigned pixelsWithin(const LumaRect& rect) const {
    const unsigned columns =
        (x_ >= rect.x0 && x_ <= rect.x1 ? 1U : 0U) | (x_ + 1 >= rect.x0 && x_ + 1 <= rect.x1 ? 2U : 0U);
    return (y_ >= rect.y0 && y_ <= rect.y1 ? columns : 0U) |
           (y_ + 1 >= rect.y0 && y_ + 1 <= rect.y1 ? columns << 2U : 0U);
  }

  /// A bit for each pixel of the block that the item's mask has, in the order of pixelsWithin. Outside of
  /// coverRect there are neither maps nor bits to read.
  RENDER_HOST_DEVICE unsigned coveredPixels(const FusedItem& item, const LumaRect& luma) const {
    const unsigned there = pixelsWithin(coverRect(luma));
    unsigned covered = 0;
    for (int row = 0; row < 2; ++row) {
      if ((there >> (2 * row) & 3U) == 0) continue;
      const int64_t maskRow = readOnly(frame_.maps + readOnly(&item.rows) + y_ + row);
      const int64_t start = readOnly(&item.firstBit) + maskRow * readOnly(&item.rowBits);
      for (int column = 0; column < 2; ++column) {
        const int pixel = 2 * row + column;
        if ((there >> pixel & 1U) == 0) continue;
        const int64_t bit = start + readOnly(frame_.maps + readOnly(&item.columns) + x_ + column);
        covered |= (readOnly(frame_.bits + (bit >> 3)) >> (bit & 7) & 1U) << pixel;
      }
    }
    return covered;
  }

  const FusedFrame& frame_;
  const int x_, y_;
  const bool right_, below_;
  unsigned char luma_[4];
  unsigned char u_ = 0, v_ = 0;
  unsigned drawn_ = 0;
};

}  // namespace seg_mask_overlay
