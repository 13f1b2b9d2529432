#pragma once

#include <cstdint>
#include <list>

#include "mask/nearest_map.h"

namespace seg_mask {

/// The maps of the mask sizes that were used last. Taking a map from cv::resize costs more than drawing a
/// small item, and a frame's masks often come in several sizes.
class NearestMapCache {
 public:
  /// Two a mask size, so 32 sizes: more than the networks of one frame give. 0.8 MB for frames of 4K.
  static constexpr std::size_t kMaps = 64;

  /// The map from a frame's dimension to a mask's, both at least 1. Valid until the next call. Throws
  /// std::bad_alloc when memory runs out; the cache stays usable.
  const NearestMap& get(int maskDimension, int frameDimension);

 private:
  struct Entry {
    int maskDimension = 0;
    int frameDimension = 0;
    NearestMap map;
  };

  std::list<Entry> entries_;  ///< the one used last first
};

}  // namespace seg_mask
