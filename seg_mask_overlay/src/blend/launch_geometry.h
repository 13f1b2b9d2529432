#pragma once

// The samples that a launch draws, and its blocks and threads. Shared by host and device code.

#include "render_base/geometry.h"

namespace seg_mask_overlay {

using render_base::FrameSize;
using render_base::LumaRect;

/// Chroma samples, the lower right corner excluded.
struct ChromaRect {
  int x0, y0, x1, y1;

  RENDER_HOST_DEVICE constexpr bool empty() const { return x0 >= x1 || y0 >= y1; }
};

/// Blocks of a launch, in x and y.
struct GridSize {
  unsigned x, y;
};

/// Threads of a block in x and in y, for both kernels.
constexpr int kBlockSide = 16;

/// What a launch draws of the inclusive rectangle; empty when an argument is not usable.
RENDER_HOST_DEVICE constexpr LumaRect launchRect(const unsigned char* yPlane, const unsigned char* uvPlane,
                                                 const unsigned char* mask, int width, int height,
                                                 LumaRect rect) {
  const bool usable = yPlane != nullptr && uvPlane != nullptr && mask != nullptr && width > 0 && height > 0;
  return usable ? render_base::clampToFrame(rect, width, height) : LumaRect{0, 0, -1, -1};
}

/// The chroma samples that a luma rectangle within a frame updates. The far end is rounded down: a single
/// column at an even x updates none, one at an odd x does, and the last column of an odd frame never does.
/// The same holds for rows.
RENDER_HOST_DEVICE constexpr ChromaRect chromaRect(LumaRect rect) {
  return {rect.x0 >> 1, rect.y0 >> 1, (rect.x1 + 1) >> 1, (rect.y1 + 1) >> 1};
}

RENDER_HOST_DEVICE constexpr unsigned blocksFor(int count) {
  return (static_cast<unsigned>(count) + (kBlockSide - 1U)) / kBlockSide;
}

/// One thread a luma pixel; the rectangle is not empty.
RENDER_HOST_DEVICE constexpr GridSize lumaGrid(LumaRect rect) {
  return {blocksFor(rect.x1 - rect.x0 + 1), blocksFor(rect.y1 - rect.y0 + 1)};
}

/// One thread a chroma sample; the rectangle is not empty.
RENDER_HOST_DEVICE constexpr GridSize chromaGrid(ChromaRect rect) {
  return {blocksFor(rect.x1 - rect.x0), blocksFor(rect.y1 - rect.y0)};
}

}  // namespace seg_mask_overlay
