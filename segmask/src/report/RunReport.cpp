#include "src/report/RunReport.h"

#include <optional>

namespace segmask {

void RunReport::look(const FrameJob& job, const VideoFormat& format, bool arePictures,
                     const FrameRenderer::Result& result) {
  std::optional<double> seconds;
  if (!arePictures) seconds = static_cast<double>(job.frame.pts) * av_q2d(format.timeBase);
  const RunCounts counts = history_.add({job.number, seconds, result.drawn, result.renderMs}, countsSoFar());
  strip_.offer({job.number, seconds, counts.drawn(), counts.dropped()}, job.frame, format);
  countVerdicts();
}

RunCounts RunReport::countsSoFar() const {
  RunCounts counts;
  counts.lookedBack = producers_.detectionsLookedBack();
  if (!telling_ || !telling_->tally()) return counts;
  const DetectionTally& tally = *telling_->tally();
  counts.detections[static_cast<std::size_t>(seg_mask::Outcome::Drawn)] = tally.drawn();
  for (const auto& [outcome, dropped] : tally.dropped()) {
    counts.detections[static_cast<std::size_t>(outcome)] = dropped.count;
  }
  return counts;
}

void RunReport::countVerdicts() {
  if (!telling_ || !telling_->tally()) return;
  for (const seg_mask::Verdict& verdict : telling_->tally()->verdicts()) {
    const bool isDrawn = verdict.outcome == seg_mask::Outcome::Drawn;
    byProducer_.add(verdict.input->producer_name, isDrawn);
    if (verdict.detection) classes_.add(verdict.detection->class_id, isDrawn);
  }
}

}  // namespace segmask
