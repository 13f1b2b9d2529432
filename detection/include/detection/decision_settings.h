#pragma once

#include "render_base/settings.h"

namespace seg_mask {

// The settings that decide which detections are drawn.

/// Detections whose score is below it are not drawn.
inline constexpr render_base::NumberSetting kMinScore{"min_score", 0.0F, 1.0F, 0.0F};

/// The most detections gathered per frame, over all producers.
inline constexpr render_base::IntegerSetting kMaxOverlayDets{"max_overlay_dets", 1, 4096, 256};

}  // namespace seg_mask
