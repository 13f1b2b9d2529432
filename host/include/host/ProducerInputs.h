#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/DetectionStream.h"
#include "render_base/RenderInput.h"
#include "render_base/RenderProducerStatus.h"

namespace segmask {

/// Turns the lines of each frame into what a render context holds: one input a line, and one status report a
/// producer seen so far, in the order in which producers first appeared.
///
/// Where a producer has no line for a frame, its last lines serve for up to `lookback` frames more, marked as
/// look-back. Lines without detections are lines like any other: a producer that found nothing is not looked
/// back over.
class ProducerInputs {
 public:
  /// What a report says of its producer's inputs in the frame.
  enum StatusCode : int32_t { kDelivered = 0, kLookedBack = 1, kNothing = 4 };

  explicit ProducerInputs(uint64_t lookback) : lookback_(lookback) {}

  /// Makes the reports and inputs of `frame`; to be called with rising numbers. `lines` are for that frame.
  void advance(uint64_t frame, std::vector<DetectionLine> lines);

  /// As RenderContext wants them. Valid until the next advance().
  const std::unordered_map<std::string, std::vector<RenderInput>>& inputs() const { return inputs_; }
  const std::unordered_map<std::string, std::vector<RenderProducerStatus>>& statuses() const {
    return statuses_;
  }

  /// Detections in all lines so far, each counted once however often look-back used it.
  uint64_t detectionsSeen() const { return detectionsSeen_; }

 private:
  struct Producer {
    std::string name;
    uint64_t lastFrame = 0;
    std::vector<DetectionPayload> payloads;  // of lastFrame; empty once too old
  };

  void store(uint64_t frame, std::vector<DetectionLine> lines);
  Producer& producerOf(const std::string& name);

  uint64_t lookback_;
  std::vector<Producer> producers_;
  std::unordered_map<std::string, std::size_t> indexByName_;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs_;
  std::unordered_map<std::string, std::vector<RenderProducerStatus>> statuses_;
  uint64_t detectionsSeen_ = 0;
};

}  // namespace segmask
