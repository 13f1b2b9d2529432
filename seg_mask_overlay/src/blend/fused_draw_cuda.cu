// The fused launch and its kernel for the CUDA device.

#include "blend/fused_block.h"
#include "blend/fused_frame.h"

namespace {

using seg_mask_overlay::kFusedBlockSide;
using seg_mask_overlay::readOnly;

/// One thread a block of 2x2 pixels of the tiles' grid, through the list of its tile.
__global__ void segmask_fused_kernel(const seg_mask_overlay::FusedFrame frame) {
  const seg_mask_overlay::TileLists& tiles = frame.tiles;
  const int blockX = (tiles.firstColumn << tiles.shift) + static_cast<int>(blockIdx.x);
  const int blockY = (tiles.firstRow << tiles.shift) + static_cast<int>(blockIdx.y);
  const int x = blockX * kFusedBlockSide + 2 * static_cast<int>(threadIdx.x);
  const int y = blockY * kFusedBlockSide + 2 * static_cast<int>(threadIdx.y);
  if (x >= frame.size.width || y >= frame.size.height) return;
  const int tile = static_cast<int>(blockIdx.y >> tiles.shift) * tiles.columns +
                   static_cast<int>(blockIdx.x >> tiles.shift);
  uint32_t i = readOnly(tiles.first + tile);
  const uint32_t end = readOnly(tiles.first + tile + 1);
  if (i == end) return;
  seg_mask_overlay::FusedBlock block(frame, x, y);
  for (; i < end; ++i) block.draw(frame.items[readOnly(tiles.items + i)]);
  block.store();
}

}  // namespace

namespace seg_mask_overlay {
namespace {

/// Blocks for `tiles` tiles from tile `first` on, of those that meet a frame of `side` pixels.
unsigned blocksOfTiles(int tiles, int first, int shift, int side) {
  const int64_t wanted = int64_t{tiles} << shift;
  const int64_t inFrame = (int64_t{side} + kFusedBlockSide - 1) / kFusedBlockSide - (int64_t{first} << shift);
  return static_cast<unsigned>(wanted < inFrame ? wanted : inFrame);
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
  const dim3 grid(blocksOfTiles(tiles.columns, tiles.firstColumn, tiles.shift, frame.size.width),
                  blocksOfTiles(tiles.rows, tiles.firstRow, tiles.shift, frame.size.height), 1);
  segmask_fused_kernel<<<grid, block, 0, stream>>>(frame);
}

}  // namespace seg_mask_overlay
