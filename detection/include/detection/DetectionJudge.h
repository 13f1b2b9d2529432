#pragma once

#include <cstddef>
#include <vector>

#include "detection/decision_settings.h"
#include "detection/detections.h"
#include "detection/outcome.h"
#include "detection/overlay_item.h"
#include "mask/MaskArena.h"
#include "mask/mask_text.h"
#include "render_base/geometry.h"

struct RenderContext;
struct RenderInput;

namespace seg_mask {

/// What becomes of one element of an input's "detections", and why.
struct Verdict {
  const RenderInput* input;  ///< not owned
  std::size_t index;         ///< of the element in its array
  Outcome outcome;
  const DetView* detection = nullptr;  ///< not owned; null for NotAnObject and OverCap, which are not read
  MaskTextFault fault{};               ///< of InvalidMask
  int maskWidth = 0;                   ///< 0 where no mask was decoded
  int maskHeight = 0;
  std::size_t pixels = 0;  ///< of Drawn
};

/// Tells of each detection whether a plug-in with these settings draws it. The rules are those of the
/// plug-in's own pass, by the same functions. One thread at a time.
class DetectionJudge {
 public:
  /// `pixelLimit` as in DrawnPixelCounter: 1 where it only matters whether a detection has pixels.
  explicit DetectionJudge(DecisionSettings settings,
                          std::size_t pixelLimit = std::numeric_limits<std::size_t>::max())
      : settings_(settings), pixelLimit_(pixelLimit) {}

  /// The verdicts for a frame of that size, which is not empty, in the order of drawing; those on one input
  /// stand together, in the order of its array. Inputs from look-back count toward the cap, but have no
  /// verdicts: theirs belong to the frame that they were delivered for. Valid until the next call.
  ///
  /// Throws what gatherDetections throws.
  const std::vector<Verdict>& judge(const RenderContext& ctx, render_base::FrameSize frame);

  /// What judge() returned last. Valid until the next call.
  const std::vector<Verdict>& verdicts() const { return verdicts_; }

  /// The detections that judge() read last, those of look-back included. Valid until the next call.
  const std::vector<DetView>& gathered() const { return gathered_.detections; }

  const DecisionSettings& settings() const { return settings_; }

 private:
  void judgeMask(const DetView& detection, render_base::FrameSize frame, Verdict& verdict);

  DecisionSettings settings_;
  std::size_t pixelLimit_;
  FrameDetections gathered_;
  std::vector<InputOutcomes> outcomes_;
  std::vector<Verdict> verdicts_;
  MaskArena arena_;
  DrawnPixelCounter pixels_;
};

}  // namespace seg_mask
