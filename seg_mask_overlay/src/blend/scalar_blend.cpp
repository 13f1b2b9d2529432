#include "blend/scalar_blend.h"

#include "blend/nv12_blend.h"

namespace seg_mask_overlay {

void scalarBlendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
                     unsigned char color, float alpha) {
  for (int y = rect.y0; y <= rect.y1; ++y) {
    unsigned char* row = plane + sampleOffset(y, pitch, 0);
    const unsigned char* maskRow = mask + sampleOffset(y, maskPitch, 0);
    for (int x = rect.x0; x <= rect.x1; ++x) {
      if (maskRow[x] != 0) row[x] = blendByte(row[x], color, alpha);
    }
  }
}

void scalarBlendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch,
                       FrameSize frame, ChromaRect rect, unsigned char colorU, unsigned char colorV,
                       float alpha) {
  for (int cy = rect.y0; cy < rect.y1; ++cy) {
    for (int cx = rect.x0; cx < rect.x1; ++cx) {
      if (!chromaCovered(mask, maskPitch, frame.width, frame.height, cx, cy)) continue;
      unsigned char* sample = plane + sampleOffset(cy, pitch, 2 * cx);
      sample[0] = blendByte(sample[0], colorU, alpha);
      sample[1] = blendByte(sample[1], colorV, alpha);
    }
  }
}

}  // namespace seg_mask_overlay
