#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/SwAny.h"
#include "render_base/RenderContext.h"
#include "scene.h"
#include "seg_mask_overlay/SegMaskOverlayPlugin.h"
#include "zelvo/DeviceRenderBackend.h"

/// The plug-in's class itself and one frame of a scene with one producer, on the default stream. The payload
/// is a tree. From the second pass on, the picture is mapped already, as it is for every pass of a frame but
/// the first.
class Drawing {
 public:
  explicit Drawing(const scene::Scene& scene);

  void render() { plugin_.render(context_); }

  /// The frame as it is now, packed NV12.
  std::vector<uint8_t> pixels() const;

 private:
  zelvo::DeviceRenderBackend backend_{nullptr};
  SegMaskOverlayPlugin plugin_;
  std::unordered_map<std::string, std::vector<RenderProducerStatus>> statuses_;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs_;
  RenderPayloadResolver resolver_{[](uint64_t, const SwAny& stored) { return stored; }};
  RenderContext context_;  // its guard goes before the backend
};
