#include "host/DetectionTally.h"

#include "host/verdict_words.h"

namespace segmask {

void DetectionTally::add(const RenderContext& context, const ProducerInputs& inputs) {
  for (const seg_mask::Verdict& verdict : judge_.judge(context, frame_)) {
    if (verdict.outcome == seg_mask::Outcome::Drawn) {
      ++drawn_;
      continue;
    }
    Dropped& dropped = dropped_[verdict.outcome];
    const uint64_t line = inputs.lineOf(*verdict.input);
    // Within a frame the order of drawing may differ from that of the lines.
    if (dropped.count == 0 || line < dropped.lineNumber) {
      dropped.lineNumber = line;
      dropped.index = verdict.index;
      dropped.why = whyDropped(verdict, judge_.settings(), frame_);
    }
    ++dropped.count;
  }
}

}  // namespace segmask
