#pragma once

#include "src/FrameMaskCompositor.h"
#include "test_support/SegMaskOverlayPluginPeer.h"

/// The tests' view of the device buffer of a plug-in that draws with frame-sized masks.
struct FrameMaskCompositorPeer {
  SegMaskOverlayPluginPeer plugin;

  void* deviceMask() { return compositor() ? compositor()->d_mask_buf_ : nullptr; }
  std::size_t deviceMaskBytes() { return compositor() ? compositor()->d_mask_buf_bytes_ : 0; }

 private:
  const seg_mask_overlay::FrameMaskCompositor* compositor() {
    return static_cast<const seg_mask_overlay::FrameMaskCompositor*>(plugin.compositor());
  }
};
