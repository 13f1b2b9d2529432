#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/SwJsonObject.h"

namespace render_base {

/// A setting of a plug-in that is a number.
struct NumberSetting {
  const char* key;
  float minimum, maximum;
  float initial;  ///< of a new instance
};

/// A setting of a plug-in that is an integer.
struct IntegerSetting {
  const char* key;
  int32_t minimum, maximum;
  int32_t initial;  ///< of a new instance
};

/// Parses a configuration text. Nothing when it is not one JSON object. White space may follow it. Writes no
/// message. Throws std::bad_alloc alone.
std::optional<SwJsonObject> parseConfiguration(const std::string& json);

/// The setting's value in `configuration`, or `current` where it has no such key or a value that gives no
/// number. Takes numbers, booleans (1 and 0) and texts that begin with a number. Clamped to the setting's
/// range: a NaN becomes the maximum, and -0.0 becomes 0.0.
float readNumber(const SwJsonObject& configuration, const NumberSetting& setting, float current);

/// The setting's value in `configuration`, or `current` where it has no such key. Integers, whole floating
/// values too, count by their low 32 bits; a fraction is cut toward zero and saturated. Clamped to the
/// setting's range. A value that is no number gives the minimum.
int32_t readInteger(const SwJsonObject& configuration, const IntegerSetting& setting, int32_t current);

}  // namespace render_base
