#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "detection/decision_settings.h"
#include "mask/MaskArena.h"
#include "render_base/RenderBase.h"
#include "render_base/mapped_picture.h"
#include "seg_mask_overlay/seg_mask_cfg.h"

struct RenderContext;

namespace seg_mask {
struct FrameDetections;
}
namespace seg_mask_overlay {
class Compositor;
}

/// Draws the segmentation masks of "detection.v1" payloads into NV12 frames, each in its class's colour. How
/// the device does that is the business of the compositor, of which each library of the plug-in has its own.
///
/// One thread at a time may call an instance. It creates no threads and never waits for the device: all work
/// of a frame is queued on the stream that comes with the mapped picture. An instance's frames must all go to
/// one stream, or the host must order the streams, because device memory is reused from frame to frame.
class SegMaskOverlayPlugin final : public RenderBase {
 public:
  SegMaskOverlayPlugin();
  SegMaskOverlayPlugin(const SegMaskOverlayPlugin&) = delete;
  SegMaskOverlayPlugin& operator=(const SegMaskOverlayPlugin&) = delete;

  /// Frees the device memory, if any frame needed some.
  ~SegMaskOverlayPlugin() override;

  /// "SegMaskOverlayPlugin", the name under which the factory is registered.
  const char* getName() const override;

  /// "segmask-" and the instance's address in decimal. The first call fills a cache, so two threads must not
  /// make it at once.
  std::string getUuid() const override;

  /// "detection.v1" alone.
  std::vector<std::string> input_types() const override;

  /// With it on, frames without detections write a throttled line to the standard error stream.
  void enableDebug(bool on) override;

  /// Stores the backend, which may be null (then render does nothing). Always true.
  bool init(const RenderInit& init) override;

  /// seg_mask_cfg::kSchema, whatever is configured.
  std::string getConfigList() override;

  /// Applies "alpha", "min_score" and "max_overlay_dets"; absent keys keep their settings and numbers are
  /// clamped. A text that is not one JSON object changes nothing. An "alpha" or "min_score" that gives no
  /// number is ignored, while a "max_overlay_dets" that is none sets 1. Not to be called during render.
  void setConfig(std::string json) override;

  /// Draws the frame's detections into the writable copy of its picture. Leaves the picture alone when there
  /// is nothing to draw or no memory on the device. What remains when the device fails later is said by the
  /// compositor.
  ///
  /// Throws std::runtime_error when the picture has no readable or no writable form, std::bad_alloc, and
  /// whatever the host's own code throws: resolver, picture pool, cloneDetached, render target, mapping.
  void render(RenderContext& ctx) override;

 private:
  friend struct SegMaskOverlayPluginPeer;  // gives the tests access to the fields

  void skipFrame(uint64_t frame_id, const seg_mask::FrameDetections& frame, uint64_t now_ns);

  IRenderBackend* backend_ = nullptr;  ///< not owned
  mutable std::string uuid_;           ///< filled by the first getUuid
  bool debug_ = false;
  float alpha_ = seg_mask_cfg::kAlpha.initial;     ///< weight of the mask colour, 0 to 1
  float min_score_ = seg_mask::kMinScore.initial;  ///< detections below it are not drawn
  uint64_t dbg_frame_count_ = 0;                   ///< consecutive frames without detections
  uint64_t dbg_next_log_ns_ = 0;                   ///< steady clock; from then on a line is due on time
  uint64_t dbg_log_interval_ms_ = 2000;            ///< between two lines that are due on time
  uint64_t dbg_log_every_n_ = 60;  ///< a line every so many skipped frames; 0 turns that rule off
  int32_t max_overlay_dets_ =
      seg_mask::kMaxOverlayDets.initial;  ///< the most detections gathered per frame; below 1 counts as 1

  render_base::KnownMapping known_mapping_;                   ///< the mapping that this instance made last
  seg_mask::MaskArena mask_arena_;                            ///< the frame's mask bits
  std::unique_ptr<seg_mask_overlay::Compositor> compositor_;  ///< made by the first frame that draws
};
