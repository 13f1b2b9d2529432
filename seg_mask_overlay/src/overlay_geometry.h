#pragma once

// Which pixels are drawn: shared by host and device, so that it is written once.

#include <cstddef>

#ifdef __CUDACC__
#define SEG_MASK_HOST_DEVICE __host__ __device__
#else
#define SEG_MASK_HOST_DEVICE
#endif

namespace seg_mask_overlay {

/// A frame's luma columns and rows.
struct FrameSize {
  int width, height;

  constexpr bool empty() const { return width <= 0 || height <= 0; }

  /// Of a mask with one byte a pixel; the frame is not empty.
  constexpr std::size_t bytes() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

/// Luma pixels, both corners included. Empty when x1 < x0 or y1 < y0.
struct LumaRect {
  int x0, y0, x1, y1;

  SEG_MASK_HOST_DEVICE constexpr bool empty() const { return x1 < x0 || y1 < y0; }
};

/// Chroma samples, the lower right corner excluded.
struct ChromaRect {
  int x0, y0, x1, y1;

  SEG_MASK_HOST_DEVICE constexpr bool empty() const { return x0 >= x1 || y0 >= y1; }
};

/// Blocks of a launch, in x and y.
struct GridSize {
  unsigned x, y;
};

/// Threads of a block in x and in y, for both kernels.
constexpr int kBlockSide = 16;

/// Cuts a rectangle to the frame. One that lies outside comes out empty: the near corner is not limited from
/// above nor the far corner from below.
SEG_MASK_HOST_DEVICE constexpr LumaRect clampToFrame(LumaRect rect, int width, int height) {
  return {rect.x0 < 0 ? 0 : rect.x0, rect.y0 < 0 ? 0 : rect.y0, rect.x1 >= width ? width - 1 : rect.x1,
          rect.y1 >= height ? height - 1 : rect.y1};
}

/// What a launch draws of the inclusive rectangle; empty when an argument is not usable.
SEG_MASK_HOST_DEVICE constexpr LumaRect launchRect(const unsigned char* yPlane, const unsigned char* uvPlane,
                                                   const unsigned char* mask, int width, int height,
                                                   LumaRect rect) {
  const bool usable = yPlane != nullptr && uvPlane != nullptr && mask != nullptr && width > 0 && height > 0;
  return usable ? clampToFrame(rect, width, height) : LumaRect{0, 0, -1, -1};
}

/// The chroma samples that a luma rectangle within a frame updates. The far end is rounded down: a single
/// column at an even x updates none, one at an odd x does, and the last column of an odd frame never does;
/// rows alike.
SEG_MASK_HOST_DEVICE constexpr ChromaRect chromaRect(LumaRect rect) {
  return {rect.x0 >> 1, rect.y0 >> 1, (rect.x1 + 1) >> 1, (rect.y1 + 1) >> 1};
}

SEG_MASK_HOST_DEVICE constexpr unsigned blocksFor(int count) {
  return (static_cast<unsigned>(count) + (kBlockSide - 1U)) / kBlockSide;
}

/// One thread a luma pixel; the rectangle is not empty.
SEG_MASK_HOST_DEVICE constexpr GridSize lumaGrid(LumaRect rect) {
  return {blocksFor(rect.x1 - rect.x0 + 1), blocksFor(rect.y1 - rect.y0 + 1)};
}

/// One thread a chroma sample; the rectangle is not empty.
SEG_MASK_HOST_DEVICE constexpr GridSize chromaGrid(ChromaRect rect) {
  return {blocksFor(rect.x1 - rect.x0), blocksFor(rect.y1 - rect.y0)};
}

}  // namespace seg_mask_overlay
