#include "video/FrameIndex.h"

#include <algorithm>

namespace segmask {

std::optional<FrameEntry> FrameIndex::entryBefore(uint64_t frame) const {
  const auto isAfter = [](uint64_t wanted, const FrameEntry& entry) { return wanted < entry.frame; };
  const auto after = std::upper_bound(entries.begin(), entries.end(), frame, isAfter);
  if (after == entries.begin()) return std::nullopt;
  return *(after - 1);
}

}  // namespace segmask
