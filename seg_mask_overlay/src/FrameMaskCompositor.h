#pragma once

#include <cstddef>
#include <vector>

#include "src/Compositor.h"
#include "src/FrameMask.h"

struct FrameMaskCompositorPeer;

namespace seg_mask_overlay {

/// Draws item by item: uploads the item's mask at the size of the frame, then launches the kernels of luma
/// and chroma (seg_mask_cuda.h). Where an upload fails, what was queued before it stays drawn.
class FrameMaskCompositor final : public Compositor {
 public:
  ~FrameMaskCompositor() override;

  void draw(const MappedFrame& frame, const std::vector<seg_mask::OverlayItem>& items, float alpha) override;

 private:
  friend struct ::FrameMaskCompositorPeer;  // gives the tests access to the fields

  bool reserveMaskBuffer(std::size_t bytes);

  void* d_mask_buf_ = nullptr;  ///< device memory for one frame-sized mask, one byte a pixel; only grows
  std::size_t d_mask_buf_bytes_ = 0;
  FrameMask frame_mask_;  ///< the host's one frame-sized mask
};

}  // namespace seg_mask_overlay
