#include "src/Telling.h"

#include <utility>

namespace segmask {

Telling::Telling(FrameRenderer& renderer, const ProducerInputs& inputs, Nv12Layout layout,
                 std::optional<DetectionTally> tally)
    : renderer_(renderer), layout_(layout), tally_(std::move(tally)) {
  if (!tally_) return;
  renderer_.watch([this, &inputs](const RenderContext& context) { tally_->add(context, inputs); });
}

void Telling::look(const FrameRenderer::Result& result, const Frame& frame) {
  if (!result.drawn) return;
  const uint64_t changed = countChangedPixels(renderer_.undrawn().data(), frame.nv12.data(), layout_);
  pixelsChanged_ += changed;
  if (changed > 0) ++framesChanged_;
}

}  // namespace segmask
