#include "src/SpreadChoice.h"

#include <algorithm>
#include <utility>

namespace segmask {

void SpreadChoice::add(Tile tile) {
  kept_.push_back(std::move(tile));
  if (kept_.size() <= kMostKept) return;
  for (std::size_t i = 1; 2 * i < kept_.size(); ++i) kept_[i] = std::move(kept_[2 * i]);
  kept_.resize((kept_.size() + 1) / 2);
  stride_ *= 2;
}

std::vector<const Tile*> SpreadChoice::pick(std::size_t count) const {
  const std::size_t picked = std::min(count, kept_.size());
  std::vector<const Tile*> tiles;
  for (std::size_t i = 0; i < picked; ++i) {
    // From the first to the last, rounded to the nearest.
    const std::size_t gaps = picked - 1;
    const std::size_t index = gaps == 0 ? 0 : (i * (kept_.size() - 1) + gaps / 2) / gaps;
    tiles.push_back(&kept_[index]);
  }
  return tiles;
}

}  // namespace segmask
