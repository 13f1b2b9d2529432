#include "detection/DetectionJudge.h"

#include "render_base/RenderBase.h"
#include "render_base/RenderContext.h"

namespace seg_mask {

const std::vector<Verdict>& DetectionJudge::judge(const RenderContext& ctx, render_base::FrameSize frame) {
  verdicts_.clear();
  outcomes_.clear();
  gathered_ = gatherDetections(ctx, RenderBase::producerTypeView(ctx, kDetectionType),
                               static_cast<std::size_t>(settings_.maxOverlayDets), &outcomes_);
  std::size_t next = 0;  // in the gathered list, which has the elements of outcome Drawn in this order
  for (const InputOutcomes& input : outcomes_) {
    for (std::size_t index = 0; index < input.outcomes.size(); ++index) {
      Verdict verdict{input.input, index, input.outcomes[index]};
      if (verdict.outcome == Outcome::Drawn) verdict.detection = &gathered_.detections[next++];
      if (input.input->uses_lookback) continue;
      if (verdict.detection) judgeMask(*verdict.detection, frame, verdict);
      verdicts_.push_back(verdict);
    }
  }
  return verdicts_;
}

void DetectionJudge::judgeMask(const DetView& detection, render_base::FrameSize frame, Verdict& verdict) {
  arena_.beginFrame(maskTextRoom(detection.class_info));
  OverlayItem item{};
  verdict.outcome = makeOverlayItem(detection, settings_.minScore, arena_, item, &verdict.fault);
  if (verdict.outcome != Outcome::Drawn) return;
  verdict.maskWidth = item.mask.width;
  verdict.maskHeight = item.mask.height;
  const DrawnPixels drawn = pixels_.count(item, frame, pixelLimit_);
  verdict.outcome = drawn.outcome;
  verdict.pixels = drawn.count;
}

}  // namespace seg_mask
