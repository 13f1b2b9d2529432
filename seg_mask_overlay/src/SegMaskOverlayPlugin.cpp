#include "seg_mask_overlay/SegMaskOverlayPlugin.h"

#include <cuda_runtime.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "FrameMask.h"
#include "detections.h"
#include "mapped_picture.h"
#include "overlay_config.h"
#include "overlay_item.h"
#include "render_base/RenderContext.h"
#include "seg_mask_overlay/seg_mask_cfg.h"
#include "seg_mask_overlay/seg_mask_cuda.h"
#include "zelvo/ZelvoPicture.h"

using namespace seg_mask_overlay;

namespace {

uint64_t steadyNowNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

/// To standard error, in one piece and unformatted, whatever width or fill the host has left on the stream.
void writeDiagnostic(const std::string& line) {
  try {
    std::cerr.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
  } catch (const std::ios_base::failure&) {
    // The host lets its streams throw. A line that cannot be written is lost, as it is without that.
  }
}

FrameSize frameSize(const LazyDetachedPicture& picture) {
  const std::shared_ptr<zelvo::ZelvoPicture> readable = picture.readable();
  if (!readable) throw std::runtime_error("LazyDetachedPicture has no readable picture");
  return {readable->width(), readable->height()};
}

}  // namespace

SegMaskOverlayPlugin::SegMaskOverlayPlugin() = default;

SegMaskOverlayPlugin::~SegMaskOverlayPlugin() {
  if (d_mask_buf_) cudaFree(d_mask_buf_);
}

const char* SegMaskOverlayPlugin::getName() const {
  return "SegMaskOverlayPlugin";
}

std::string SegMaskOverlayPlugin::getUuid() const {
  if (uuid_.empty()) uuid_ = "segmask-" + std::to_string(reinterpret_cast<uintptr_t>(this));
  return uuid_;
}

std::vector<std::string> SegMaskOverlayPlugin::input_types() const {
  return {kDetectionType};
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
  const ConfigUpdate update = parseConfig(json);
  alpha_ = update.alpha.value_or(alpha_);
  min_score_ = update.min_score.value_or(min_score_);
  max_overlay_dets_ = update.max_overlay_dets.value_or(max_overlay_dets_);
}

void SegMaskOverlayPlugin::render(RenderContext& ctx) {
  if (!backend_ || !ctx.picture.hasSource()) return;
  const uint64_t now_ns = steadyNowNs();

  const RenderProducerTypeView& view = producerTypeView(ctx, kDetectionType);
  FrameDetections frame =
      gatherDetections(ctx, view, static_cast<std::size_t>(std::max(max_overlay_dets_, 1)));
  if (frame.detections.empty()) {
    skipFrame(ctx.frame_id, frame, now_ns);
    return;
  }
  dbg_frame_count_ = 0;

  const FrameSize size = frameSize(ctx.picture);
  if (size.empty()) return;
  const std::vector<OverlayItem> items = makeOverlayItems(frame.detections, min_score_);
  if (items.empty()) return;
  frame = FrameDetections();  // drawing needs the items' bits alone, and the texts are large

  if (!mapWritablePicture(ctx, *backend_, size)) return;
  if (!reserveMaskBuffer(size.bytes())) return;
  drawItems(ctx, size, items);
}

void SegMaskOverlayPlugin::skipFrame(uint64_t frame_id, const FrameDetections& frame, uint64_t now_ns) {
  ++dbg_frame_count_;
  if (!debug_) return;
  const bool first = dbg_frame_count_ == 1;
  const bool counted = dbg_log_every_n_ != 0 && dbg_frame_count_ % dbg_log_every_n_ == 0;
  const bool timed = now_ns >= dbg_next_log_ns_;
  if (!first && !counted && !timed) return;

  const std::string line = "[SegMask][Fallback] frame=" + std::to_string(frame_id) +
                           " decision=skip providers_missing=" + std::to_string(frame.missing) +
                           " providers_using_lookback=" + std::to_string(frame.lookback) + "\n";
  dbg_next_log_ns_ = now_ns + dbg_log_interval_ms_ * 1'000'000;  // not before the line is sure of its memory
  writeDiagnostic(line);
}

/// False when the device has no memory for `bytes`; the next frame tries again.
bool SegMaskOverlayPlugin::reserveMaskBuffer(std::size_t bytes) {
  if (d_mask_buf_ && bytes <= d_mask_buf_bytes_) return true;
  if (d_mask_buf_) cudaFree(d_mask_buf_);
  d_mask_buf_ = nullptr;
  d_mask_buf_bytes_ = 0;

  void* buffer = nullptr;
  if (cudaMalloc(&buffer, bytes) != cudaSuccess) return false;
  d_mask_buf_ = buffer;
  d_mask_buf_bytes_ = bytes;
  return true;
}

void SegMaskOverlayPlugin::drawItems(const RenderContext& ctx, const FrameSize& size,
                                     const std::vector<OverlayItem>& items) {
  if (!frame_mask_) frame_mask_ = std::make_unique<FrameMask>();
  const IRenderBackend::MappedPlanes& planes = ctx.planes;
  auto* const deviceMask = static_cast<unsigned char*>(d_mask_buf_);

  for (const OverlayItem& item : items) {
    const std::optional<LumaRect> rect = clipBox(item.box, size.width, size.height);
    if (!rect) continue;
    // The copy has taken the pageable host bytes when it returns, and the stream keeps it behind the previous
    // item's kernels: so one host mask and one device buffer serve all items without waiting.
    const unsigned char* mask = frame_mask_->fill(item.mask, size.width, size.height);
    if (cudaMemcpyAsync(deviceMask, mask, size.bytes(), cudaMemcpyHostToDevice, planes.stream) != cudaSuccess)
      return;
    seg_mask_cuda::launch_segmask_overlay_nv12(planes.y, planes.yPitch, planes.uv, planes.uvPitch, size.width,
                                               size.height, deviceMask, size.width, rect->x0, rect->y0,
                                               rect->x1, rect->y1, item.color.y, item.color.u, item.color.v,
                                               alpha_, planes.stream);
  }
}
