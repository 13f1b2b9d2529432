#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "blend/fused_frame.h"
#include "mask/NearestMapCache.h"
#include "src/Compositor.h"
#include "src/tile_lists.h"

namespace seg_mask_overlay {

/// Packs what drawing a frame needs into one block of memory: a FusedFrame, then all that it points to. Of
/// the masks and their maps only what the boxes show is packed. Keeps its memory from frame to frame.
class FramePacker {
 public:
  /// Lays a frame out. Returns the bytes that the block takes, 0 when no box meets the frame. The masks must
  /// live until the frame is written. Throws std::bad_alloc when memory runs out.
  std::size_t plan(const MappedFrame& frame, const std::vector<seg_mask::OverlayItem>& items, float alpha);

  /// Writes the block of the planned frame to `block`, with the addresses that it has as a copy at `device`,
  /// and returns its FusedFrame. Both addresses are aligned to kAlignment. `scratch` becomes
  /// FusedFrame::scratch.
  FusedFrame write(unsigned char* block, const unsigned char* device, unsigned char* scratch) const;

  static constexpr std::size_t kAlignment = 16;

 private:
  /// A map that items share, from a frame's dimension to a mask's. Only the frame pixels from `from` to `to`,
  /// both included, are used.
  struct SharedMap {
    int maskDimension, frameDimension;
    int from, to;
    int32_t offset;  ///< of frame pixel 0 in maps_; below 0 where that is not used
  };

  /// Successive bytes of a mask.
  struct MaskBytes {
    const uint8_t* bytes;
    std::size_t size;
  };

  int32_t shareMap(int maskDimension, int frameDimension, int from, int to);
  void packMaps();
  void packMask(FusedItem& item, const seg_mask::MaskView& mask);
  void packRowsTogether(FusedItem& item, const seg_mask::MaskView& mask);
  void packRowsOneByOne(FusedItem& item, const seg_mask::MaskView& mask);
  void packBytes(const uint8_t* bytes, std::size_t size);
  int32_t mapped(int32_t map, int framePixel) const;

  seg_mask::NearestMapCache cache_;
  TileListBuilder tiles_;
  FusedFrame frame_{};  ///< without addresses in the block
  std::vector<FusedItem> items_;
  std::vector<seg_mask::MaskView> masks_;  ///< by item
  std::vector<SharedMap> shared_;
  std::vector<int32_t> maps_;
  std::vector<MaskBytes> bits_;
};

}  // namespace seg_mask_overlay
