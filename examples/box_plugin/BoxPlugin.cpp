// A whole render plug-in in one file: a skeleton to copy.

#include <cuda_runtime_api.h>

#include <algorithm>
#include <class_loader/register_macro.hpp>

#include "core/diagnostics.h"
#include "detection/class_color.h"
#include "detection/decision_settings.h"
#include "detection/detections.h"
#include "render_base/RenderBase.h"
#include "render_base/RenderContext.h"
#include "render_base/mapped_picture.h"
#include "render_base/skip_line.h"

using render_base::Box;
using Planes = IRenderBackend::MappedPlanes;

namespace {

/// Width of the outlines in luma pixels. The other two settings are those of detection/decision_settings.h.
constexpr render_base::IntegerSetting kThickness{"thickness", 1, 64, 2};

constexpr char kSchema[] = R"json({
  "$schema": "http://json-schema.org/draft-07/schema#",
  "type": "object",
  "properties": {
    "thickness": { "type": "integer", "minimum": 1, "maximum": 64, "default": 2 },
    "min_score": { "type": "number", "minimum": 0.0, "maximum": 1.0, "default": 0.0 },
    "max_overlay_dets": { "type": "integer", "minimum": 1, "maximum": 4096, "default": 256 }
  },
  "additionalProperties": false
})json";

/// Queues the filling of the luma rectangle and of every chroma sample that it touches. A sample covers 2x2
/// luma pixels, the last ones of an odd frame fewer.
void drawRect(const render_base::LumaRect& luma, const seg_mask::YuvColor& color, const Planes& planes) {
  const auto fill = [&](unsigned char* first, int pitch, int value, int width, int height) {
    cudaMemset2DAsync(first, static_cast<std::size_t>(pitch), value, static_cast<std::size_t>(width),
                      static_cast<std::size_t>(height), planes.stream);
  };
  fill(planes.y + std::ptrdiff_t{luma.y0} * planes.yPitch + luma.x0, planes.yPitch, color.y,
       luma.x1 - luma.x0 + 1, luma.y1 - luma.y0 + 1);

  // U and V are interleaved and a fill writes one value, so each fill is a line of single bytes along the
  // longer dimension.
  const int columns = luma.x1 / 2 - luma.x0 / 2 + 1;
  const int rows = luma.y1 / 2 - luma.y0 / 2 + 1;
  const bool lying = columns > rows;
  unsigned char* line =
      planes.uv + std::ptrdiff_t{luma.y0 / 2} * planes.uvPitch + std::ptrdiff_t{luma.x0 / 2} * 2;
  for (int i = 0; i < std::min(columns, rows); ++i, line += lying ? planes.uvPitch : 2) {
    fill(line, lying ? 2 : planes.uvPitch, color.u, 1, std::max(columns, rows));
    fill(line + 1, lying ? 2 : planes.uvPitch, color.v, 1, std::max(columns, rows));
  }
}

/// Queues the drawing of the box's outline, which lies inside the box; its edges are cut to the frame. A box
/// thinner than two edges is filled.
void drawOutline(const Box& box, int32_t thickness, const seg_mask::YuvColor& color,
                 render_base::FrameSize frame, const Planes& planes) {
  const int32_t down = std::min(thickness, box.h);
  const int32_t across = std::min(thickness, box.w);
  // In 64 bits, where no box overflows. Coordinates that do not fit 32 bits lie outside every frame.
  const auto bottom = static_cast<int32_t>(std::min<int64_t>(int64_t{box.y} + box.h - down, INT32_MAX));
  const auto right = static_cast<int32_t>(std::min<int64_t>(int64_t{box.x} + box.w - across, INT32_MAX));
  for (const Box& edge : {Box{box.x, box.y, box.w, down}, Box{box.x, bottom, box.w, down},
                          Box{box.x, box.y, across, box.h}, Box{right, box.y, across, box.h}})
    if (const auto seen = clipBox(edge, frame)) drawRect(*seen, color, planes);
}

}  // namespace

/// Draws the outlines of the boxes in "detection.v1" payloads into NV12 frames, each in its class's colour.
///
/// One thread at a time may call an instance. It never waits for the device: all drawing is queued on the
/// stream that comes with the mapped picture, and a fill that the device refuses is left out. render throws
/// std::bad_alloc, std::runtime_error when no copy can be made, and what the host's code throws.
class BoxPlugin final : public RenderBase {
 public:
  const char* getName() const override { return "BoxPlugin"; }
  std::string getUuid() const override { return "box-" + std::to_string(reinterpret_cast<uintptr_t>(this)); }
  std::vector<std::string> input_types() const override { return {seg_mask::kDetectionType}; }
  void enableDebug(bool on) override { debug_ = on; }
  std::string getConfigList() override { return kSchema; }

  /// Stores the backend; render does nothing while it is null. Always true.
  bool init(const RenderInit& init) override {
    backend_ = init.backend;
    return true;
  }

  /// Absent keys keep their settings and numbers are clamped. A text that is not a JSON object changes
  /// nothing.
  void setConfig(std::string json) override {
    const auto configuration = render_base::parseConfiguration(json);
    if (!configuration) return;
    thickness_ = readInteger(*configuration, kThickness, thickness_);
    min_score_ = readNumber(*configuration, seg_mask::kMinScore, min_score_);
    max_dets_ = readInteger(*configuration, seg_mask::kMaxOverlayDets, max_dets_);
  }

  /// Draws in the order of the detections. The frame is copied for it only when an outline can be seen.
  void render(RenderContext& ctx) override {
    if (!backend_ || !ctx.picture.hasSource()) return;
    const auto found = seg_mask::gatherDetections(ctx, producerTypeView(ctx, seg_mask::kDetectionType),
                                                  static_cast<std::size_t>(max_dets_));
    if (found.detections.empty()) return skipFrame({ctx.frame_id, found.missing, found.lookback});
    skipped_frames_ = 0;

    const render_base::FrameSize size = render_base::readableSize(ctx.picture);
    for (const seg_mask::DetView& detection : found.detections) {
      const Box box{detection.x, detection.y, detection.w, detection.h};
      if (isBelow(detection, min_score_) || !clipBox(box, size)) continue;
      if (!mapWritablePicture(ctx, *backend_, size, known_mapping_)) return;
      drawOutline(box, thickness_, seg_mask::classColor(detection.class_id), size, ctx.planes);
    }
  }

 private:
  /// While diagnostics are on, writes a line for the first frame of a run, for every 60th, and every 2
  /// seconds.
  void skipFrame(const render_base::SkippedFrame& frame) {
    const uint64_t now_ns = render_base::steadyNowNs();
    if (!render_base::isSkipLineDue({++skipped_frames_, 60, next_line_ns_}, now_ns) || !debug_) return;
    sw_diagnostics::writeLine(skipLine("Box", frame));
    next_line_ns_ = now_ns + 2'000'000'000;
  }

  IRenderBackend* backend_ = nullptr;  ///< not owned
  bool debug_ = false;
  int32_t thickness_ = kThickness.initial;
  float min_score_ = seg_mask::kMinScore.initial;
  int32_t max_dets_ = seg_mask::kMaxOverlayDets.initial;
  render_base::KnownMapping known_mapping_;  ///< the last one, see mapWritablePicture
  uint64_t skipped_frames_ = 0;              ///< consecutive frames without detections
  uint64_t next_line_ns_ = 0;                ///< steady clock; from then on a line is due on time
};

CLASS_LOADER_REGISTER_CLASS(BoxPlugin, IRenderPlugin)  // hosts create it by this factory
