#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

#include "test_support/scene.h"

namespace plugin_test {

/// What may be seen of a frame when something failed on the way: in each plane any of the detections may be
/// missing, but none is there in part.
class PartialFrames {
 public:
  explicit PartialFrames(const scene::Scene& scene);

  bool include(const std::vector<uint8_t>& frame) const;

 private:
  std::ptrdiff_t luma_bytes_;
  std::set<std::vector<uint8_t>> luma_;
  std::set<std::vector<uint8_t>> chroma_;
};

}  // namespace plugin_test
