#include "overlay_config.h"

#include <algorithm>
#include <cmath>

#include "core/SwJsonDocument.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "core/number_text.h"
#include "core/saturate.h"
#include "core/swcfg.h"
#include "low_bits.h"

namespace seg_mask_overlay {
namespace {

constexpr int32_t kMaxOverlayDets = 4096;  // as the published schema says

std::optional<double> readNumber(const SwJsonValue& value) {
  switch (value.kind()) {
    case SwJsonValue::Kind::Int:
      return static_cast<double>(value.integer());
    case SwJsonValue::Kind::Double:
      return value.number();
    case SwJsonValue::Kind::Bool:
      return value.boolean() ? 1.0 : 0.0;
    case SwJsonValue::Kind::String: {
      double number = 0.0;
      if (sw_number::toDouble(value.text(), number)) return number;
      return std::nullopt;
    }
    default:
      return std::nullopt;
  }
}

/// The order of the tests is meant: NaN fails the first and becomes 1, and -0.0 becomes 0.0.
double clampToUnit(double value) {
  if (value < 1.0) return value > 0.0 ? value : 0.0;
  return 1.0;
}

std::optional<float> readUnitValue(const SwJsonObject& root, const char* key) {
  SwJsonValue found;
  if (!swcfg::getValue(root, key, found)) return std::nullopt;
  const std::optional<double> number = readNumber(found);
  if (!number) return std::nullopt;
  return static_cast<float>(clampToUnit(*number));
}

int32_t clampDets(int32_t count) {
  return std::clamp(count, 1, kMaxOverlayDets);
}

int32_t readDets(const SwJsonValue& value) {
  if (value.isInt()) return clampDets(lowBits(value.integer()));
  if (!value.isDouble()) return 1;
  const double number = value.number();
  // A fraction saturates at 32 bits, a whole number at 64 and then counts by its low bits like an integer.
  if (number != std::trunc(number)) return clampDets(sw_number::saturate<int32_t>(number));
  return clampDets(lowBits(sw_number::saturate<int64_t>(number)));
}

}  // namespace

ConfigUpdate parseConfig(const std::string& json) {
  ConfigUpdate update;
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(json, error)) return update;
  const SwJsonObject* root = document.root().object();
  if (!root) return update;
  update.alpha = readUnitValue(*root, "alpha");
  update.min_score = readUnitValue(*root, "min_score");
  if (const SwJsonValue* dets = root->find("max_overlay_dets")) update.max_overlay_dets = readDets(*dets);
  return update;
}

}  // namespace seg_mask_overlay
