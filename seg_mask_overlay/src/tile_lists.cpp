#include "src/tile_lists.h"

#include <algorithm>
#include <cstddef>

namespace seg_mask_overlay {
namespace {

constexpr int kSmallestTileBits = 5;
static_assert(kFusedBlockSide == 1 << kSmallestTileBits);

/// Tiles, numbered from the frame's corner, both ends included.
struct TileRange {
  int x0, y0, x1, y1;

  std::size_t count() const {
    return static_cast<std::size_t>(x1 - x0 + 1) * static_cast<std::size_t>(y1 - y0 + 1);
  }
};

TileRange tilesOf(const FusedItem& item, int shift) {
  const LumaRect cover = coverRect(item.luma);
  const int bits = shift + kSmallestTileBits;
  return {cover.x0 >> bits, cover.y0 >> bits, cover.x1 >> bits, cover.y1 >> bits};
}

TileRange unionOf(const std::vector<FusedItem>& items, int shift) {
  TileRange all = tilesOf(items.front(), shift);
  for (const FusedItem& item : items) {
    const TileRange tiles = tilesOf(item, shift);
    all = {std::min(all.x0, tiles.x0), std::min(all.y0, tiles.y0), std::max(all.x1, tiles.x1),
           std::max(all.y1, tiles.y1)};
  }
  return all;
}

std::size_t countEntries(const std::vector<FusedItem>& items, int shift) {
  std::size_t entries = 0;
  for (const FusedItem& item : items) entries += tilesOf(item, shift).count();
  return entries;
}

}  // namespace

void TileListBuilder::build(const std::vector<FusedItem>& items) {
  int shift = 0;
  while (countEntries(items, shift) > kMaxEntries && unionOf(items, shift).count() > 1) ++shift;

  const TileRange all = unionOf(items, shift);
  grid_ = {all.x0, all.y0, all.x1 - all.x0 + 1, all.y1 - all.y0 + 1, shift, nullptr, nullptr};
  const auto forEachTile = [&](const FusedItem& item, const auto& action) {
    const TileRange tiles = tilesOf(item, shift);
    for (int y = tiles.y0; y <= tiles.y1; ++y) {
      for (int x = tiles.x0; x <= tiles.x1; ++x) {
        action(static_cast<std::size_t>(y - all.y0) * static_cast<std::size_t>(grid_.columns) +
               static_cast<std::size_t>(x - all.x0));
      }
    }
  };
  // First each list's length behind its place, then by their sums each list's end, which moves to its
  // beginning as the list is filled from the back.
  first_.assign(all.count() + 1, 0);
  for (const FusedItem& item : items) forEachTile(item, [&](std::size_t tile) { ++first_[tile]; });
  for (std::size_t i = 1; i < first_.size(); ++i) first_[i] += first_[i - 1];
  items_.resize(first_.back());
  for (std::size_t number = items.size(); number > 0; --number) {
    forEachTile(items[number - 1],
                [&](std::size_t tile) { items_[--first_[tile]] = static_cast<uint32_t>(number - 1); });
  }
}

}  // namespace seg_mask_overlay
