#pragma once

#include <vector>

#include "src/Compositor.h"
#include "src/FramePacker.h"
#include "src/GrowingDeviceBuffer.h"
#include "src/StagingBuffers.h"

namespace seg_mask_overlay {

/// Draws a frame in one pass: packs what its items show of their masks, uploads it in one copy and draws it
/// by one launch (blend/fused_frame.h). Where anything of that fails, nothing of the frame is drawn.
///
/// The destructor waits for the frames that are queued. Once frames have come in all sizes, drawing allocates
/// nothing, unless their masks come in more sizes than NearestMapCache keeps.
class FusedCompositor final : public Compositor {
 public:
  void draw(const MappedFrame& frame, const std::vector<seg_mask::OverlayItem>& items, float alpha) override;

 private:
  FramePacker packer_;
  GrowingDeviceBuffer device_;  ///< the packed frame, and behind it the launch's scratch memory
  StagingBuffers staging_;      ///< behind device_: its destructor waits for the work on that
};

}  // namespace seg_mask_overlay
