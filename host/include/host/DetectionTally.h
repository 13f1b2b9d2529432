#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "detection/DetectionJudge.h"
#include "host/ProducerInputs.h"
#include "render_base/geometry.h"

struct RenderContext;

namespace segmask {

/// Counts over a run what becomes of the detections, each once, with the frame that it was delivered for: as
/// many are drawn as have a pixel of their mask inside box and frame, the others are dropped, each by the
/// first rule that drops it. Part of the host's code because any host that drives the plug-in can tell its
/// users so. One thread at a time.
class DetectionTally {
 public:
  /// The detections that one rule dropped.
  struct Dropped {
    uint64_t count = 0;
    uint64_t lineNumber = 0;  ///< of the first, in the order of the file
    std::size_t index = 0;    ///< in its line's "detections", from 0 on
    std::string why;          ///< see whyDropped
  };

  /// For a plug-in with these settings and frames of that size.
  DetectionTally(seg_mask::DecisionSettings settings, render_base::FrameSize frame)
      : judge_(settings, 1), frame_(frame) {}

  /// The frames from now on have this size.
  void setFrameSize(render_base::FrameSize frame) { frame_ = frame; }

  /// Counts the detections of one frame. The context was filled by `inputs`.
  void add(const RenderContext& context, const ProducerInputs& inputs);

  /// Detections of the frame that was added last which may have been drawn on it, look-back included.
  const std::vector<seg_mask::DetView>& candidates() const { return judge_.gathered(); }

  /// What became of the detections of the frame that was added last, without those of look-back: each counts
  /// with the frame that it was delivered for. Valid until the next add(); its inputs as long as those of the
  /// context.
  const std::vector<seg_mask::Verdict>& verdicts() const { return judge_.verdicts(); }

  uint64_t drawn() const { return drawn_; }

  /// The rules that dropped any.
  const std::map<seg_mask::Outcome, Dropped>& dropped() const { return dropped_; }

 private:
  seg_mask::DetectionJudge judge_;
  render_base::FrameSize frame_;
  uint64_t drawn_ = 0;
  std::map<seg_mask::Outcome, Dropped> dropped_;
};

}  // namespace segmask
