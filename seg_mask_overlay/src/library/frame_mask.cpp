// libseg_mask_overlay.so draws with frame-sized masks.

#include "src/FrameMaskCompositor.h"

std::unique_ptr<seg_mask_overlay::Compositor> seg_mask_overlay::makeCompositor() {
  return std::make_unique<FrameMaskCompositor>();
}
