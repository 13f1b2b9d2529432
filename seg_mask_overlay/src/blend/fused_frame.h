#pragma once

// A frame's items in device memory, as one launch draws them all. Shared by host and device code.

#include <cstddef>
#include <cstdint>

#include "blend/launch_geometry.h"

struct CUstream_st;  // the CUDA runtime's stream

namespace seg_mask_overlay {

/// One item. Its mask is in packed bits, of which what its box shows is there and little more.
struct FusedItem {
  LumaRect luma;      ///< the box within the frame, not empty
  ChromaRect chroma;  ///< chromaRect(luma); may be empty
  /// Maps from frame to mask pixels: frame column x shows the mask column maps[columns + x], frame row y the
  /// row maps[rows + y]. They are there for coverRect(luma).
  int32_t columns, rows;
  int32_t maskWidth;
  unsigned char colorY, colorU, colorV;
  /// Pixel (column, row) of the mask is bit firstBit + row * rowBits + column of the frame's bits, counted
  /// from the lowest bit of the first byte. Rows are numbered as in the mask where rowBits is its width;
  /// where it is 1, each row has been packed by itself, and its number says where.
  int64_t firstBit;
  int32_t rowBits;
};

/// The frame pixels whose mask pixels decide what an item draws: its box, and a column to the left or a row
/// above that share a chroma sample with it. To the right and below chromaRect rounds down instead.
RENDER_HOST_DEVICE constexpr LumaRect coverRect(const LumaRect& luma) {
  return {luma.x0 & ~1, luma.y0 & ~1, luma.x1, luma.y1};
}

/// Lists of items, one for each tile of a grid over the frame. The list of a tile has the numbers of all
/// items whose coverRect meets it, in the order of drawing.
struct TileLists {
  int firstColumn, firstRow;  ///< of the grid's first tile, in tiles from the frame's corner
  int columns, rows;          ///< tiles of the grid
  int shift;                  ///< a tile's side is kFusedBlockSide << shift pixels
  /// The list of tile (column, row) of the grid is items[first[i]] to items[first[i + 1]] with i = row *
  /// columns + column.
  const uint32_t* first;
  const uint32_t* items;
};

/// All that a launch reads, with pointers to device memory.
struct FusedFrame {
  unsigned char* yPlane;
  unsigned char* uvPlane;
  int yPitch, uvPitch;  ///< bytes
  FrameSize size;
  float alpha;  ///< weight of the colours; not clamped
  uint32_t itemCount;
  const FusedItem* items;  ///< in the order of drawing
  const int32_t* maps;
  const uint8_t* bits;
  std::size_t bitsSize;    ///< bytes
  TileLists tiles;         ///< where the device wants them (fusedNeedsTiles)
  unsigned char* scratch;  ///< fusedScratchBytes(size) bytes that the drawing may write
};

/// Luma pixels a side that a block of a kernel draws, a thread 2x2 of them: the side of the smallest tile.
constexpr int kFusedBlockSide = 2 * kBlockSide;

/// Whether this device's launch reads FusedFrame::tiles.
bool fusedNeedsTiles();

/// Bytes of FusedFrame::scratch that this device's launch wants; may be 0.
std::size_t fusedScratchBytes(FrameSize size);

/// Queues the drawing of all items, in their order, and returns at once. `uploaded` is a copy of `frame` in
/// device memory. It and all that `frame` points to belong to the launch until `stream` has done the work.
/// A failed launch is silent and draws nothing. Allocates nothing.
void launchFusedFrame(const FusedFrame& frame, const FusedFrame* uploaded, CUstream_st* stream);

}  // namespace seg_mask_overlay
