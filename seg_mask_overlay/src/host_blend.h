#pragma once

// The CPU device's blend: the bytes of plain_blend.h, many at a time.

#include "overlay_geometry.h"

namespace seg_mask_overlay {

/// What plainBlendLuma does.
void blendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
               unsigned char color, float alpha);

/// What plainBlendChroma does, for a rectangle whose 2x2 blocks of luma lie within the frame, as those of
/// every chromaRect do.
void blendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, ChromaRect rect,
                 unsigned char colorU, unsigned char colorV, float alpha);

}  // namespace seg_mask_overlay
