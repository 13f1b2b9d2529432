// The fused launch of the CUDA device: one kernel draws a packed frame.

#include "blend/fused_block.h"
#include "blend/fused_frame.h"

namespace seg_mask_overlay {
namespace {

/// One thread a block of 2x2 pixels of the tiles' grid.
__global__ void segmask_fused_kernel(FusedFrame frame) {
  const TileLists& tiles = frame.tiles;
  const int blockX = (tiles.firstColumn << tiles.shift) + static_cast<int>(blockIdx.x);
  const int blockY = (tiles.firstRow << tiles.shift) + static_cast<int>(blockIdx.y);
  const int x = blockX * kFusedBlockSide + 2 * static_cast<int>(threadIdx.x);
  const int y = blockY * kFusedBlockSide + 2 * static_cast<int>(threadIdx.y);
  if (x >= frame.size.width || y >= frame.size.height) return;
  const int tile = (static_cast<int>(blockIdx.y) >> tiles.shift) * tiles.columns +
                   (static_cast<int>(blockIdx.x) >> tiles.shift);
  const uint32_t end = readOnly(tiles.first + tile + 1);
  uint32_t i = readOnly(tiles.first + tile);
  if (i == end) return;
  FusedBlock block(frame, x, y);
  for (; i < end; ++i) block.draw(frame.items[readOnly(tiles.items + i)]);
  block.store();
}

}  // namespace

bool fusedNeedsTiles() {
  return true;
}

std::size_t fusedScratchBytes(FrameSize) {
  return 0;
}

void launchFusedFrame(const FusedFrame& frame, const FusedFrame*, CUstream_st* stream) {
  const TileLists& tiles = frame.tiles;
  const dim3 block(kBlockSide, kBlockSide, 1);
  const dim3 grid(static_cast<unsigned>(tiles.columns) << tiles.shift,
                  static_cast<unsigned>(tiles.rows) << tiles.shift, 1);
  segmask_fused_kernel<<<grid, block, 0, stream>>>(frame);
}

}  // namespace seg_mask_overlay
