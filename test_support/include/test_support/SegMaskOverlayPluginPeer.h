#pragma once

#include "seg_mask_overlay/SegMaskOverlayPlugin.h"

/// The tests' view of the plug-in's fields.
struct SegMaskOverlayPluginPeer {
  SegMaskOverlayPlugin& plugin;

  IRenderBackend*& backend() { return plugin.backend_; }
  bool& debug() { return plugin.debug_; }
  float& alpha() { return plugin.alpha_; }
  float& minScore() { return plugin.min_score_; }
  const seg_mask_overlay::Compositor* compositor() { return plugin.compositor_.get(); }
  uint64_t& skippedFrames() { return plugin.dbg_frame_count_; }
  uint64_t& nextLogNs() { return plugin.dbg_next_log_ns_; }
  uint64_t& logIntervalMs() { return plugin.dbg_log_interval_ms_; }
  uint64_t& logEveryN() { return plugin.dbg_log_every_n_; }
  int32_t& maxOverlayDets() { return plugin.max_overlay_dets_; }
};
