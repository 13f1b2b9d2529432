#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/DetectionStream.h"
#include "render_base/RenderContext.h"
#include "render_base/RenderInput.h"
#include "render_base/RenderProducerStatus.h"

namespace segmask {

/// Turns the lines of each frame into the inputs of a render context: one input per line, and one status
/// report per producer seen so far, in the order in which producers first appeared.
///
/// Where a producer has no line for a frame, its last lines are used for up to `lookback` further frames,
/// marked as look-back. A line without detections is a delivery like any other, so it ends the look-back.
///
/// The program has called registerDetectionPayload() before, or plug-ins find no detections in the inputs.
class ProducerInputs {
 public:
  /// Status code of a report: how its producer's inputs of the frame came about.
  enum StatusCode : int32_t { kDelivered = 0, kLookedBack = 1, kNothing = 4 };

  explicit ProducerInputs(uint64_t lookback) : lookback_(lookback) {}

  /// Makes the reports and inputs of `frame`; to be called with rising numbers. `lines` are for that frame.
  void advance(uint64_t frame, std::vector<DetectionLine> lines);

  /// In the form that RenderContext takes. Valid until the next advance().
  const std::unordered_map<std::string, std::vector<RenderInput>>& inputs() const { return inputs_; }
  const std::unordered_map<std::string, std::vector<RenderProducerStatus>>& statuses() const {
    return statuses_;
  }

  /// Makes the context that of `frame`, which was advanced to last: its number, its inputs and reports, and a
  /// resolver for them. The context must not outlive this object.
  void fill(RenderContext& context, uint64_t frame) const;

  /// The number of the line that one of inputs() came with.
  uint64_t lineOf(const RenderInput& input) const;

  /// Detections in all lines so far, each counted once however often look-back used it.
  uint64_t detectionsSeen() const { return detectionsSeen_; }

  /// Detections that look-back has passed on again so far, once for each frame.
  uint64_t detectionsLookedBack() const { return detectionsLookedBack_; }

 private:
  struct Delivery {
    DetectionPayload payload;
    std::size_t detections;
    uint64_t lineNumber;
  };
  struct Producer {
    std::string name;
    uint64_t lastFrame = 0;
    std::vector<Delivery> deliveries;  ///< of lastFrame; empty once too old
  };

  void store(uint64_t frame, std::vector<DetectionLine> lines);
  Producer& producerOf(const std::string& name);

  uint64_t lookback_;
  std::vector<Producer> producers_;
  std::unordered_map<std::string, std::size_t> indexByName_;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs_;
  std::unordered_map<std::string, std::vector<RenderProducerStatus>> statuses_;
  std::vector<uint64_t> lineNumbers_;  ///< by input
  uint64_t detectionsSeen_ = 0;
  uint64_t detectionsLookedBack_ = 0;
};

}  // namespace segmask
