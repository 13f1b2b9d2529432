// libseg_mask_overlay_fused.so draws a frame in one pass.

#include "src/FusedCompositor.h"

std::unique_ptr<seg_mask_overlay::Compositor> seg_mask_overlay::makeCompositor() {
  return std::make_unique<FusedCompositor>();
}
