#pragma once

#include "render_base/settings.h"

namespace seg_mask_cfg {

/// Weight of the mask's colour. The plug-in's other settings are those of detection/decision_settings.h.
inline constexpr render_base::NumberSetting kAlpha{"alpha", 0.0F, 1.0F, 0.45F};

/// The JSON Schema of the plug-in's configuration, as getConfigList publishes it: the settings' keys, ranges
/// and initial values. It is documentation: setConfig does not validate, it clamps or ignores. Hosts compare
/// the text, so it is kept to the byte, the line breaks at both ends included.
inline constexpr const char kSchema[] = R"json(
{
  "$schema": "http://json-schema.org/draft-07/schema#",
  "title": "SegMaskOverlayPlugin configuration",
  "type": "object",
  "properties": {
    "alpha": { "type": "number", "minimum": 0.0, "maximum": 1.0, "default": 0.45 },
    "min_score": { "type": "number", "minimum": 0.0, "maximum": 1.0, "default": 0.0 },
    "max_overlay_dets": {
      "type": "integer",
      "minimum": 1,
      "maximum": 4096,
      "default": 256
    }
  },
  "additionalProperties": false
}
)json";

}  // namespace seg_mask_cfg
