#include "mask/NearestMapCache.h"

#include <algorithm>
#include <iterator>

namespace seg_mask {

const NearestMap& NearestMapCache::get(int maskDimension, int frameDimension) {
  const auto isWanted = [&](const Entry& entry) {
    return entry.maskDimension == maskDimension && entry.frameDimension == frameDimension;
  };
  auto found = std::find_if(entries_.begin(), entries_.end(), isWanted);
  if (found == entries_.end()) {
    if (entries_.size() < kMaps) entries_.emplace_back();
    found = std::prev(entries_.end());
    *found = Entry();  // nothing is valid if memory runs out below
    found->map.prepare(maskDimension, frameDimension);
    found->maskDimension = maskDimension;
    found->frameDimension = frameDimension;
  }
  entries_.splice(entries_.begin(), entries_, found);
  return found->map;
}

}  // namespace seg_mask
