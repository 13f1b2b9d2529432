#pragma once

// A packed frame block by block, as the kernel draws it: the reference for the host's fast drawing and for a
// GPU's results.

#include "blend/fused_frame.h"

namespace seg_mask_overlay {

/// Draws all items of `frame`, whose addresses are of host memory. Reads no tile lists. Runs in the calling
/// thread.
void scalarDrawFused(const FusedFrame& frame);

}  // namespace seg_mask_overlay
