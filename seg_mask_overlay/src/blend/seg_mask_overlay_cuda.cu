// The launcher and its kernels for the CUDA device.

#include "blend/launch_geometry.h"
#include "blend/nv12_blend.h"
#include "seg_mask_overlay/seg_mask_cuda.h"

namespace {

using seg_mask_overlay::blendByte;
using seg_mask_overlay::sampleOffset;

/// One thread a pixel of the inclusive rectangle.
__global__ void segmask_y_kernel(unsigned char* yPlane, int yPitch, const unsigned char* mask, int maskPitch,
                                 int x0, int y0, int x1, int y1, unsigned char colorY, float alpha) {
  const int x = x0 + static_cast<int>(blockIdx.x * blockDim.x + threadIdx.x);
  const int y = y0 + static_cast<int>(blockIdx.y * blockDim.y + threadIdx.y);
  if (x > x1 || y > y1) return;
  if (seg_mask_overlay::maskByte(mask, sampleOffset(y, maskPitch, x)) == 0) return;
  unsigned char* sample = yPlane + sampleOffset(y, yPitch, x);
  *sample = blendByte(*sample, colorY, alpha);
}

/// One thread a sample of the half-open chroma rectangle; `width` and `height` are the luma frame's.
__global__ void segmask_uv_kernel(unsigned char* uvPlane, int uvPitch, const unsigned char* mask,
                                  int maskPitch, int width, int height, int cx0, int cy0, int cx1, int cy1,
                                  unsigned char colorU, unsigned char colorV, float alpha) {
  const int cx = cx0 + static_cast<int>(blockIdx.x * blockDim.x + threadIdx.x);
  const int cy = cy0 + static_cast<int>(blockIdx.y * blockDim.y + threadIdx.y);
  if (cx >= cx1 || cy >= cy1) return;
  if (!seg_mask_overlay::chromaCovered(mask, maskPitch, width, height, cx, cy)) return;
  unsigned char* sample = uvPlane + sampleOffset(cy, uvPitch, 2 * cx);
  sample[0] = blendByte(sample[0], colorU, alpha);
  sample[1] = blendByte(sample[1], colorV, alpha);
}

}  // namespace

void seg_mask_cuda::launch_segmask_overlay_nv12(unsigned char* yPlane, int yPitch, unsigned char* uvPlane,
                                                int uvPitch, int width, int height, const unsigned char* mask,
                                                int maskPitch, int x0, int y0, int x1, int y1,
                                                unsigned char colorY, unsigned char colorU,
                                                unsigned char colorV, float alpha, CUstream_st* stream) {
  using namespace seg_mask_overlay;
  const LumaRect luma = launchRect(yPlane, uvPlane, mask, width, height, {x0, y0, x1, y1});
  if (luma.empty()) return;
  const dim3 block(kBlockSide, kBlockSide, 1);

  const GridSize lumaBlocks = lumaGrid(luma);
  segmask_y_kernel<<<dim3(lumaBlocks.x, lumaBlocks.y, 1), block, 0, stream>>>(
      yPlane, yPitch, mask, maskPitch, luma.x0, luma.y0, luma.x1, luma.y1, colorY, alpha);

  const ChromaRect chroma = chromaRect(luma);
  if (chroma.empty()) return;
  const GridSize chromaBlocks = chromaGrid(chroma);
  segmask_uv_kernel<<<dim3(chromaBlocks.x, chromaBlocks.y, 1), block, 0, stream>>>(
      uvPlane, uvPitch, mask, maskPitch, width, height, chroma.x0, chroma.y0, chroma.x1, chroma.y1, colorU,
      colorV, alpha);
}
