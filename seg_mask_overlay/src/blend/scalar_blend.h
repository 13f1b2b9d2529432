#pragma once

// The blend sample by sample, as the kernels do it: the reference for the host's fast blend and for a GPU's
// results.

#include "blend/launch_geometry.h"

namespace seg_mask_overlay {

/// Blends `color` into each luma sample of `rect` whose mask byte is set. `plane` and `mask` are addressed in
/// frame coordinates, pitches are in bytes, and the rectangle lies within both. Runs in the calling thread.
void scalarBlendLuma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch, LumaRect rect,
                     unsigned char color, float alpha);

/// The same for the U, V pairs of `rect` whose 2x2 block of luma the mask touches. `frame` is the luma
/// frame's size: mask pixels outside it are not read.
void scalarBlendChroma(unsigned char* plane, int pitch, const unsigned char* mask, int maskPitch,
                       FrameSize frame, ChromaRect rect, unsigned char colorU, unsigned char colorV,
                       float alpha);

}  // namespace seg_mask_overlay
