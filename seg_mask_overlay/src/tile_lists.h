#pragma once

#include <cstdint>
#include <vector>

#include "blend/fused_frame.h"

namespace seg_mask_overlay {

/// Builds the lists of items by tile for one frame after another.
class TileListBuilder {
 public:
  /// The most list entries before tiles are made coarser: 1 MiB. A crowd of 4,096 boxes, each as large as a
  /// frame of 4K, would have 33 million entries in the smallest tiles. The offsets in first(), one for each
  /// tile of the grid, are not counted.
  static constexpr std::size_t kMaxEntries = (std::size_t{1} << 20) / sizeof(uint32_t);

  /// Makes the lists of these items, of which there is at least one, with the smallest tiles that keep within
  /// kMaxEntries; one tile may exceed it. The grid covers the items' coverRects and no more. Throws
  /// std::bad_alloc when memory runs out.
  void build(const std::vector<FusedItem>& items);

  /// The grid. Its pointers are null: the lists are in the vectors below.
  const TileLists& grid() const { return grid_; }

  const std::vector<uint32_t>& first() const { return first_; }
  const std::vector<uint32_t>& items() const { return items_; }

 private:
  TileLists grid_{};
  std::vector<uint32_t> first_;
  std::vector<uint32_t> items_;
};

}  // namespace seg_mask_overlay
