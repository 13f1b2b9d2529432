#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "test_support/model/mask.h"
#include "test_support/model/pixels.h"
#include "test_support/scene.h"

namespace model {

/// The calls that a pass makes of the device's runtime.
enum class Call { allocate, free, upload, launch };

/// Those of one pass, some of which fail.
class DeviceCalls {
 public:
  /// Lets the nth call of a kind fail, counted from 1.
  void failCall(Call call, unsigned nth) { plans_.emplace_back(call, nth); }

  /// Which are to fail.
  const std::vector<std::pair<Call, unsigned>>& plans() const { return plans_; }

  /// Makes the call. False when it fails.
  bool succeeds(Call call);

  /// How often the call was made, and how often it failed.
  unsigned count(Call call) const;
  unsigned failed(Call call) const;
  std::size_t total() const { return made_.size(); }

 private:
  std::vector<std::pair<Call, unsigned>> plans_;
  std::vector<std::pair<Call, bool>> made_;
};

/// The device memory that an instance keeps for masks.
struct MaskBuffer {
  bool there = false;
  std::size_t bytes = 0;
};

/// A detection that can be drawn.
struct Item {
  Mask mask;
  scene::Detection detection;
};

/// Those of the detections whose score is not below the least one, and whose mask text is a mask.
std::vector<Item> drawableItems(const std::vector<scene::Detection>& detections, float min_score);

/// Draws the items into the frame, as far as the calls succeed.
void draw(const Planes& frame, const std::vector<Item>& items, float alpha, MaskBuffer& buffer,
          DeviceCalls& calls);

/// The same where nothing fails.
void draw(const Planes& frame, const std::vector<Item>& items, float alpha);

}  // namespace model
