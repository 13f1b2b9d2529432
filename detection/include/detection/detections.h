#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/SwJsonObject.h"
#include "detection/outcome.h"
#include "render_base/RenderProducerTypeView.h"

struct RenderContext;

namespace seg_mask {

/// The payload type that the plug-in draws.
inline constexpr const char kDetectionType[] = "detection.v1";

/// One detection as read from a payload; nothing is validated.
struct DetView {
  int32_t x = 0;  ///< the box's top-left corner, in frame pixels
  int32_t y = 0;
  int32_t w = 0;  ///< the box's dimensions, in frame pixels
  int32_t h = 0;
  int32_t class_id = 0;
  float score = 0.0F;
  std::string class_info;  ///< the mask text
};

/// Whether the detection's score is below the threshold; a NaN is not.
inline bool isBelow(const DetView& detection, float minScore) {
  return detection.score < minScore;
}

/// A frame's detections, and the numbers of producers without any and of those with look-back.
struct FrameDetections {
  std::vector<DetView> detections;
  uint64_t missing = 0;   ///< producers without any detection
  uint64_t lookback = 0;  ///< producers with an input from an earlier frame
};

/// Appends the elements of the payload's "detections" array to `list` while it holds fewer than `cap`.
/// Elements that are not objects are passed over.
///
/// Box and class take integers (their low 32 bits), floating values (cut toward zero, saturated) and booleans
/// (1 and 0); the score takes the same as numbers; anything else, absence included, is 0. The text is
/// whatever SwJsonValue::toString gives, so an absent one is "null".
///
/// Where `outcomes` is not null, each element adds one to it: Drawn if it is in the list now, NotAnObject or
/// OverCap.
void collectDetections(SwJsonObject payload, std::size_t cap, std::vector<DetView>& list,
                       std::vector<Outcome>* outcomes = nullptr);

/// The outcomes of one input's elements.
struct InputOutcomes {
  const RenderInput* input;       ///< not owned
  std::vector<Outcome> outcomes;  ///< one per element, see collectDetections
};

/// Gathers up to `cap` detections: producer by producer in the view's order, input by input, element by
/// element. Once the cap is reached, further producers are neither read nor counted; the inputs of the
/// producer that reached it are all resolved. What the context's resolver throws passes through, and so does
/// std::bad_alloc; a payload whose conversion throws anything else counts as empty.
///
/// Where `outcomes` is not null, it gets an entry for each input in the order of reading. Inputs beyond the
/// cap get one too; they are read for this purpose alone.
FrameDetections gatherDetections(const RenderContext& ctx, const RenderProducerTypeView& view,
                                 std::size_t cap, std::vector<InputOutcomes>* outcomes = nullptr);

}  // namespace seg_mask
