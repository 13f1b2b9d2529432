#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace seg_mask_overlay {

/// The settings that one configuration text changes.
struct ConfigUpdate {
  std::optional<float> alpha;               ///< 0 to 1
  std::optional<float> min_score;           ///< 0 to 1
  std::optional<int32_t> max_overlay_dets;  ///< 1 to 4096
};

/// Reads a configuration. A text that does not parse as one JSON object changes nothing; unknown keys are
/// ignored.
///
/// "alpha" and "min_score" take numbers, booleans (1 and 0) and texts that begin with a number; anything else
/// is ignored. They are clamped to 0..1; a value that is not a number becomes 1.
///
/// "max_overlay_dets" is cut to an integer and clamped to 1..4096. Integers, whole floating values too, count
/// by their low 32 bits; anything that is not a number sets 1.
ConfigUpdate parseConfig(const std::string& json);

}  // namespace seg_mask_overlay
