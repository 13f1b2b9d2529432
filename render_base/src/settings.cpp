#include "render_base/settings.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/SwJsonDocument.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "core/number_text.h"
#include "core/saturate.h"
#include "core/swcfg.h"

namespace render_base {
namespace {

std::optional<double> toNumber(const SwJsonValue& value) {
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

/// The order of the comparisons matters: NaN fails the first and becomes the maximum, and -0.0 becomes 0.0.
double clamped(double value, double minimum, double maximum) {
  if (value < maximum) return value > minimum ? value : minimum;
  return maximum;
}

/// A fraction saturates at 32 bits; a whole number saturates at 64 and then counts by its low bits, as an
/// integer does.
int32_t toInteger(double number) {
  if (number != std::trunc(number)) return sw_number::saturate<int32_t>(number);
  return sw_number::lowBits(sw_number::saturate<int64_t>(number));
}

}  // namespace

std::optional<SwJsonObject> parseConfiguration(const std::string& json) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(json, error)) return std::nullopt;
  const SwJsonObject* root = document.root().object();
  if (!root) return std::nullopt;
  return *root;
}

float readNumber(const SwJsonObject& configuration, const NumberSetting& setting, float current) {
  SwJsonValue found;
  if (!swcfg::getValue(configuration, setting.key, found)) return current;
  const std::optional<double> number = toNumber(found);
  if (!number) return current;
  return static_cast<float>(
      clamped(*number, static_cast<double>(setting.minimum), static_cast<double>(setting.maximum)));
}

int32_t readInteger(const SwJsonObject& configuration, const IntegerSetting& setting, int32_t current) {
  const SwJsonValue* found = configuration.find(setting.key);
  if (!found) return current;
  int32_t value = setting.minimum;
  if (found->isInt()) value = sw_number::lowBits(found->integer());
  if (found->isDouble()) value = toInteger(found->number());
  return std::clamp(value, setting.minimum, setting.maximum);
}

}  // namespace render_base
