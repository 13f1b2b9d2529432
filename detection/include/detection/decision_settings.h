#pragma once

#include <cstdint>

#include "core/SwJsonObject.h"
#include "render_base/settings.h"

namespace seg_mask {

// The settings that decide which detections are drawn.

/// Detections whose score is below it are not drawn.
inline constexpr render_base::NumberSetting kMinScore{"min_score", 0.0F, 1.0F, 0.0F};

/// The most detections gathered per frame, over all producers.
inline constexpr render_base::IntegerSetting kMaxOverlayDets{"max_overlay_dets", 1, 4096, 256};

/// Their values.
struct DecisionSettings {
  float minScore = kMinScore.initial;
  int32_t maxOverlayDets = kMaxOverlayDets.initial;
};

/// The settings in `configuration`; those of `current` where it has none. See readNumber and readInteger.
inline DecisionSettings readDecisionSettings(const SwJsonObject& configuration, DecisionSettings current) {
  return {render_base::readNumber(configuration, kMinScore, current.minScore),
          render_base::readInteger(configuration, kMaxOverlayDets, current.maxOverlayDets)};
}

}  // namespace seg_mask
