#include "blend/scalar_fused.h"

#include "blend/fused_block.h"

namespace seg_mask_overlay {

void scalarDrawFused(const FusedFrame& frame) {
  for (int y = 0; y < frame.size.height; y += 2) {
    for (int x = 0; x < frame.size.width; x += 2) {
      FusedBlock block(frame, x, y);
      for (uint32_t i = 0; i < frame.itemCount; ++i) block.draw(frame.items[i]);
      block.store();
    }
  }
}

}  // namespace seg_mask_overlay
