#pragma once

namespace seg_mask_cfg {

/// The JSON Schema of the plug-in's configuration, as getConfigList publishes it. It documents; setConfig
/// clamps and ignores instead of validating. The defaults are those of a new instance. Hosts compare the
/// text, so it is kept to the byte, the line breaks at both ends included.
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
