#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "core/SwJsonObject.h"
#include "render_base/RenderContext.h"
#include "render_base/RenderProducerTypeView.h"

namespace seg_mask_overlay {

/// The payload type that the plug-in draws.
inline constexpr const char kDetectionType[] = "detection.v1";

/// One detection as read from a payload; nothing is validated. Its text belongs to the FrameDetections.
struct DetView {
  int32_t x = 0;  ///< the box's top-left corner, in frame pixels
  int32_t y = 0;
  int32_t w = 0;  ///< the box's sides, in frame pixels
  int32_t h = 0;
  int32_t class_id = 0;
  float score = 0.0F;
  const std::string* class_info = nullptr;  ///< the mask text; not null in a detection that was read
};

/// A frame's detections, and how its producers did. Moving it leaves the texts where they are.
struct FrameDetections {
  FrameDetections() = default;
  FrameDetections(const FrameDetections&) = delete;
  FrameDetections& operator=(const FrameDetections&) = delete;
  FrameDetections(FrameDetections&&) = default;
  FrameDetections& operator=(FrameDetections&&) = default;

  std::vector<DetView> detections;
  std::vector<SwJsonObject> payloads;  ///< where the texts are, so that nothing copies them
  std::deque<std::string> texts;       ///< those of values that are no strings
  uint64_t missing = 0;                ///< producers without any detection
  uint64_t lookback = 0;               ///< producers with an input from an earlier frame
};

/// Appends the elements of the payload's "detections" array to `frame` while it holds fewer than `cap`
/// detections. Elements that are not objects are passed over.
///
/// Box and class take integers (their low 32 bits), floating values (cut toward zero, saturated) and booleans
/// (1 and 0); the score takes the same as numbers; anything else, absence included, is 0. The text is
/// whatever SwJsonValue::toString gives, so an absent one is "null".
void collectDetections(SwJsonObject payload, std::size_t cap, FrameDetections& frame);

/// Gathers up to `cap` detections: producer by producer in the view's order, input by input, element by
/// element. Once the cap is reached, further producers are neither read nor counted; the inputs of the
/// producer that reached it are all resolved. What the context's resolver throws passes through, and so does
/// std::bad_alloc; a payload whose conversion throws anything else counts as empty.
FrameDetections gatherDetections(const RenderContext& ctx, const RenderProducerTypeView& view,
                                 std::size_t cap);

}  // namespace seg_mask_overlay
