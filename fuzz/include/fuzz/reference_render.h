#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "cudart_cpu/control.h"
#include "fuzz/Canvas.h"
#include "test_support/golden_model.h"
#include "test_support/scene.h"

/// What a pass asks of the device and what it draws, once more: step by step, pixel by pixel.
namespace reference {

/// The calls of the CUDA runtime that a pass makes, some of which fail.
class DeviceCalls {
 public:
  /// Lets the nth call of a kind fail, counted from 1.
  void failCall(cudart_cpu::Call call, unsigned nth) { plans_.emplace_back(call, nth); }

  /// Which are to fail.
  const std::vector<std::pair<cudart_cpu::Call, unsigned>>& plans() const { return plans_; }

  /// Makes the call. False when it fails.
  bool succeeds(cudart_cpu::Call call);

  /// How often the call was made.
  unsigned count(cudart_cpu::Call call) const;
  std::size_t total() const { return made_.size(); }

 private:
  std::vector<std::pair<cudart_cpu::Call, unsigned>> plans_;
  std::vector<cudart_cpu::Call> made_;
};

/// Of a plug-in, what a pass may change.
struct Device {
  bool hasBuffer = false;
  std::size_t bufferBytes = 0;
  bool freeFailed = false;  ///< in this pass, so that a buffer is lost
};

/// A detection that can be drawn.
struct Item {
  golden::Mask mask;
  scene::Detection detection;
};

std::vector<Item> drawableItems(const std::vector<scene::Detection>& detections, float minScore);

/// Draws the items into what the canvas should hold, as far as the calls succeed.
void draw(fuzz::Canvas& canvas, const std::vector<Item>& items, float alpha, Device& device,
          DeviceCalls& calls);

}  // namespace reference
