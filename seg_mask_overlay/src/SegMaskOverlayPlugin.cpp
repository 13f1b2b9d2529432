#include "seg_mask_overlay/SegMaskOverlayPlugin.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "core/diagnostics.h"
#include "detection/detections.h"
#include "detection/overlay_item.h"
#include "render_base/RenderContext.h"
#include "render_base/mapped_picture.h"
#include "render_base/skip_line.h"
#include "seg_mask_overlay/seg_mask_cfg.h"
#include "src/Compositor.h"
#include "zelvo/ZelvoPicture.h"

using render_base::FrameSize;
using seg_mask::FrameDetections;
using seg_mask::OverlayItem;

SegMaskOverlayPlugin::SegMaskOverlayPlugin() = default;

SegMaskOverlayPlugin::~SegMaskOverlayPlugin() = default;

const char* SegMaskOverlayPlugin::getName() const {
  return "SegMaskOverlayPlugin";
}

std::string SegMaskOverlayPlugin::getUuid() const {
  if (uuid_.empty()) uuid_ = "segmask-" + std::to_string(reinterpret_cast<uintptr_t>(this));
  return uuid_;
}

std::vector<std::string> SegMaskOverlayPlugin::input_types() const {
  return {seg_mask::kDetectionType};
}

void SegMaskOverlayPlugin::enableDebug(bool on) {
  debug_ = on;
}

bool SegMaskOverlayPlugin::init(const RenderInit& init) {
  backend_ = init.backend;
  return true;
}

std::string SegMaskOverlayPlugin::getConfigList() {
  return seg_mask_cfg::kSchema;
}

void SegMaskOverlayPlugin::setConfig(std::string json) {
  const std::optional<SwJsonObject> configuration = render_base::parseConfiguration(json);
  if (!configuration) return;
  const float alpha = readNumber(*configuration, seg_mask_cfg::kAlpha, alpha_);
  const seg_mask::DecisionSettings decisions =
      seg_mask::readDecisionSettings(*configuration, {min_score_, max_overlay_dets_});
  // All settings are read before any is stored, because reading may run out of memory.
  alpha_ = alpha;
  min_score_ = decisions.minScore;
  max_overlay_dets_ = decisions.maxOverlayDets;
}

void SegMaskOverlayPlugin::render(RenderContext& ctx) {
  if (!backend_ || !ctx.picture.hasSource()) return;
  const uint64_t now_ns = render_base::steadyNowNs();

  const RenderProducerTypeView& view = producerTypeView(ctx, seg_mask::kDetectionType);
  FrameDetections frame =
      seg_mask::gatherDetections(ctx, view, static_cast<std::size_t>(std::max(max_overlay_dets_, 1)));
  if (frame.detections.empty()) {
    skipFrame(ctx.frame_id, frame, now_ns);
    return;
  }
  dbg_frame_count_ = 0;

  const FrameSize size = render_base::readableSize(ctx.picture);
  if (size.empty()) return;
  const std::vector<OverlayItem> items =
      seg_mask::makeOverlayItems(frame.detections, min_score_, mask_arena_);
  if (items.empty()) return;
  frame = FrameDetections();  // frees the mask texts, which are large; drawing needs only the items' bits

  if (!render_base::mapWritablePicture(ctx, *backend_, size, known_mapping_)) return;
  if (!compositor_) compositor_ = seg_mask_overlay::makeCompositor();
  compositor_->draw({ctx.planes, size}, items, alpha_);
}

void SegMaskOverlayPlugin::skipFrame(uint64_t frame_id, const FrameDetections& frame, uint64_t now_ns) {
  ++dbg_frame_count_;
  if (!debug_) return;
  if (!render_base::isSkipLineDue({dbg_frame_count_, dbg_log_every_n_, dbg_next_log_ns_}, now_ns)) return;
  std::string line = render_base::skipLine("SegMask", {frame_id, frame.missing, frame.lookback});
  dbg_next_log_ns_ = now_ns + dbg_log_interval_ms_ * 1'000'000;  // after the line, whose allocation may fail
  sw_diagnostics::writeLine(std::move(line));
}
