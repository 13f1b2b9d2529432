#pragma once

#include <cstdint>
#include <vector>

#include "seg_mask_overlay/SegMaskOverlayPlugin.h"
#include "test_support/FrameContext.h"
#include "test_support/scene.h"
#include "zelvo/DeviceRenderBackend.h"

/// The plug-in's class itself and one frame of a scene with one producer, on the default stream. The payload
/// is a tree. From the second pass on, the picture is mapped already, as it is for every pass of a frame but
/// the first.
class Drawing {
 public:
  explicit Drawing(const scene::Scene& scene);

  void render() { plugin_.render(parts_.ctx); }

  /// The frame as it is now, packed NV12.
  std::vector<uint8_t> pixels() const { return parts_.pixels(); }

 private:
  zelvo::DeviceRenderBackend backend_{nullptr};
  SegMaskOverlayPlugin plugin_;
  plugin_test::FrameContext parts_;  // the context's guard goes before the backend
};
