#pragma once

// The blend of one byte. Shared by host and device code, whose results must agree to the bit.

#include <cmath>
#include <cstddef>

#include "blend/launch_geometry.h"

namespace seg_mask_overlay {

/// `old` blended with `color`: color * alpha + old * (1 - alpha) + 0.5 in single precision, cut to an integer
/// from 0 to 255. Each rounding is spelled out (one subtraction, one product, one fused multiply-add, one
/// sum), because host and device compilers would otherwise fuse differently. A NaN gives 0.
RENDER_HOST_DEVICE inline unsigned char blendByte(unsigned char old, unsigned char color, float alpha) {
#ifdef __CUDA_ARCH__
  const float kept = __fmul_rn(static_cast<float>(old), __fsub_rn(1.0F, alpha));
  const float sum = __fadd_rn(__fmaf_rn(static_cast<float>(color), alpha, kept), 0.5F);
#else
  const float kept = static_cast<float>(old) * (1.0F - alpha);
  const float sum = std::fma(static_cast<float>(color), alpha, kept) + 0.5F;
#endif
  // Compared before the conversion, so that nothing out of range is converted; written so that NaN fails the
  // test.
  if (!(sum > 0.0F)) return 0;
  if (sum >= 255.0F) return 255;
  return static_cast<unsigned char>(sum);
}

/// A mask byte; on the device through the read-only data path.
RENDER_HOST_DEVICE inline unsigned char maskByte(const unsigned char* mask, std::ptrdiff_t index) {
#ifdef __CUDA_ARCH__
  return __ldg(mask + index);
#else
  return mask[index];
#endif
}

/// Bytes from a plane's first sample to `column` of `row`.
RENDER_HOST_DEVICE inline std::ptrdiff_t sampleOffset(int row, int pitch, int column) {
  return static_cast<std::ptrdiff_t>(row) * pitch + column;
}

/// Whether the mask touches the 2x2 luma block of chroma sample (cx, cy). Pixels outside the width x height
/// frame are not read, and reading ends at the first set pixel.
RENDER_HOST_DEVICE inline bool chromaCovered(const unsigned char* mask, int maskPitch, int width, int height,
                                             int cx, int cy) {
  const int px = 2 * cx;
  const int py = 2 * cy;
  const std::ptrdiff_t top = sampleOffset(py, maskPitch, px);
  const bool hasRight = px + 1 < width;
  if (maskByte(mask, top) != 0) return true;
  if (hasRight && maskByte(mask, top + 1) != 0) return true;
  if (py + 1 >= height) return false;
  const std::ptrdiff_t bottom = top + maskPitch;
  if (maskByte(mask, bottom) != 0) return true;
  return hasRight && maskByte(mask, bottom + 1) != 0;
}

}  // namespace seg_mask_overlay
