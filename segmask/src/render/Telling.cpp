#include "src/render/Telling.h"

#include <algorithm>
#include <utility>

namespace segmask {
namespace {

/// Even, so that no chroma pair is in two tiles.
constexpr int kTileWidth = 64;
constexpr int kTileHeight = 32;

}  // namespace

Telling::Telling(FrameRenderer& renderer, const ProducerInputs& inputs, Nv12Layout layout,
                 std::optional<DetectionTally> tally)
    : renderer_(renderer), layout_(layout), tally_(std::move(tally)), hints_({layout.width, layout.height}) {
  setLayout(layout);
  if (!tally_) return;
  renderer_.watch([this, &inputs](const RenderContext& context) { tally_->add(context, inputs); });
}

void Telling::setLayout(Nv12Layout layout) {
  layout_ = layout;
  tileColumns_ = (layout.width - 1) / kTileWidth + 1;
  tileRows_ = (layout.height - 1) / kTileHeight + 1;
  hints_.setFrameSize({layout.width, layout.height});
  if (tally_) tally_->setFrameSize({layout.width, layout.height});
}

void Telling::look(const FrameRenderer::Result& result, const Frame& frame) {
  if (!result.drawn) return;
  const uint64_t changed = changedPixels(frame);
  pixelsChanged_ += changed;
  if (changed > 0) ++framesChanged_;
}

/// Where the plug-in is known to draw within boxes, other tiles are not compared: that would take longer than
/// everything else that is told.
uint64_t Telling::changedPixels(const Frame& frame) {
  const auto tiles = static_cast<std::size_t>(tileColumns_) * static_cast<std::size_t>(tileRows_);
  tiles_.assign(tiles, !tally_);
  if (tally_) markBoxes();
  uint64_t count = 0;
  for (std::size_t tile = 0; tile < tiles; ++tile) {
    if (!tiles_[tile]) continue;
    const int x = static_cast<int>(tile % static_cast<std::size_t>(tileColumns_)) * kTileWidth;
    const int y = static_cast<int>(tile / static_cast<std::size_t>(tileColumns_)) * kTileHeight;
    count += countChangedPixels(
        renderer_.undrawn().data(), frame.nv12.data(), layout_,
        {x, y, std::min(kTileWidth, layout_.width - x), std::min(kTileHeight, layout_.height - y)});
  }
  return count;
}

void Telling::markBoxes() {
  for (const seg_mask::DetView& detection : tally_->candidates()) {
    const std::optional<render_base::LumaRect> rect = render_base::clipBox(
        {detection.x, detection.y, detection.w, detection.h}, {layout_.width, layout_.height});
    if (!rect) continue;
    for (int row = rect->y0 / kTileHeight; row <= rect->y1 / kTileHeight; ++row) {
      const auto first = tiles_.begin() + std::ptrdiff_t{row} * tileColumns_;
      std::fill(first + rect->x0 / kTileWidth, first + rect->x1 / kTileWidth + 1, true);
    }
  }
}

}  // namespace segmask
