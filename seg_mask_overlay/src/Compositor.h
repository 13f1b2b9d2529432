#pragma once

#include <memory>
#include <vector>

#include "detection/overlay_item.h"
#include "render_base/RenderContext.h"
#include "render_base/geometry.h"

namespace seg_mask_overlay {

/// What a frame's items are drawn on: the valid planes of a mapped NV12 picture, with the stream of its work.
struct MappedFrame {
  const IRenderBackend::MappedPlanes& planes;
  render_base::FrameSize size;  ///< not empty
};

/// Draws a frame's items on the device. This is the one part in which the libraries of the plug-in differ:
/// each links one implementation. All of them give the same bytes.
///
/// One thread at a time may call an instance, and its frames must all go to one stream, or the host must
/// order the streams, because device memory is reused from frame to frame.
class Compositor {
 public:
  Compositor() = default;
  Compositor(const Compositor&) = delete;
  Compositor& operator=(const Compositor&) = delete;

  /// Frees the device memory, which may wait for the device.
  virtual ~Compositor() = default;

  /// Queues the drawing of `items`, in their order, with the weight `alpha` on the frame's stream, and never
  /// waits for it. Reads nothing of `items` after it has returned. A failure of the device is silent: what it
  /// prevents is not drawn, and the next frame tries again. Throws std::bad_alloc when host memory runs out.
  virtual void draw(const MappedFrame& frame, const std::vector<seg_mask::OverlayItem>& items,
                    float alpha) = 0;
};

/// The compositor of this library. Makes no call of the CUDA runtime. Throws std::bad_alloc when memory runs
/// out.
std::unique_ptr<Compositor> makeCompositor();

}  // namespace seg_mask_overlay
