#pragma once

struct CUstream_st;  // the CUDA runtime's stream

namespace seg_mask_cuda {

/// Queues the blending of one mask in one colour into an NV12 frame, in place, and returns at once.
///
/// All pointers are device pointers and must stay valid until `stream` has done the work. `yPlane` has
/// `height` rows of `width` bytes, `uvPlane` height / 2 rows of interleaved U, V pairs; pitches are in bytes.
/// `mask` is addressed in frame coordinates, one byte a luma pixel: any non-zero byte means inside. Only the
/// rectangle with the inclusive corners (x0, y0) and (x1, y1), cut to the frame, is drawn: luma where the
/// mask is set, chroma where the mask is set anywhere in the sample's 2x2 block of luma. `alpha` is the
/// weight of the colour and is not clamped.
///
/// Draws luma, then chroma. Silently does nothing for a null plane or mask, a size that is not positive or a
/// rectangle outside the frame; launch errors are not examined.
void launch_segmask_overlay_nv12(unsigned char* yPlane, int yPitch, unsigned char* uvPlane, int uvPitch,
                                 int width, int height, const unsigned char* mask, int maskPitch, int x0,
                                 int y0, int x1, int y1, unsigned char colorY, unsigned char colorU,
                                 unsigned char colorV, float alpha, CUstream_st* stream);

}  // namespace seg_mask_cuda
