#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "test_support/model/mask.h"
#include "test_support/model/pixels.h"
#include "test_support/scene.h"

namespace model {

/// The calls that OneByOne makes of the device's runtime.
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

/// What a pass hands its items over to: the libraries of the plug-in draw the same bytes in different ways,
/// and fail in different ways.
class Compositor {
 public:
  Compositor() = default;
  Compositor(const Compositor&) = delete;
  Compositor& operator=(const Compositor&) = delete;
  virtual ~Compositor() = default;

  virtual void draw(const Planes& frame, const std::vector<Item>& items, float alpha) = 0;
};

/// Uploads and launches item by item. What was drawn before a call fails stays.
class OneByOne final : public Compositor {
 public:
  OneByOne(MaskBuffer& buffer, DeviceCalls& calls) : buffer_(buffer), calls_(calls) {}

  void draw(const Planes& frame, const std::vector<Item>& items, float alpha) override;

 private:
  MaskBuffer& buffer_;
  DeviceCalls& calls_;
};

/// Draws all items of a frame or none. Which calls it makes depends on how the items are packed, so it is
/// told what has come of them.
class AllAtOnce final : public Compositor {
 public:
  void draw(const Planes& frame, const std::vector<Item>& items, float alpha) override;

  /// Whether the pass has come to drawing with items that lie within the frame.
  bool isDue() const { return !items_.empty(); }

  /// Ends the pass. The items that are due are drawn if the device could.
  void finish(bool could);

 private:
  Planes frame_;
  std::vector<Item> items_;  ///< those in sight
  float alpha_ = 0;
};

/// Draws the items into the frame where nothing fails.
void draw(const Planes& frame, const std::vector<Item>& items, float alpha);

}  // namespace model
