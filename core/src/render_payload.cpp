#include "core/render_payload.h"

#include <algorithm>
#include <string>

#include "core/SwJsonDocument.h"

namespace {

// Significant digits of a floating-point payload.
constexpr int kTextPrecision = 6;

bool convertsTo(const SwAny& payload, const std::string& targetTypeName) {
  const SwAny::ConversionRules& rules = SwAny::getConversionRules();
  const auto targets = rules.find(payload.typeName());
  return targets != rules.end() &&
         std::find(targets->second.begin(), targets->second.end(), targetTypeName) != targets->second.end();
}

SwJsonObject parseObject(const std::string& text) {
  if (text.empty()) return SwJsonObject();
  SwJsonDocument document;
  SwString error;
  const bool isObject = document.loadFromJson(text, error) && document.root().isObject();
  return isObject ? document.object() : SwJsonObject();
}

}  // namespace

SwJsonObject render_payload::anyToJsonObject(const SwAny& payload) {
  const std::string objectTypeName = SwAny::typeNameOf<SwJsonObject>();
  if (payload.typeName() == objectTypeName) {
    const auto& held = payload.get<SwJsonObject>();
    if (!held.empty()) return held;
  } else if (convertsTo(payload, objectTypeName)) {
    const SwAny converted = payload.convert(objectTypeName);
    const auto& object = converted.get<SwJsonObject>();
    if (!object.empty()) return object;
  }
  return parseObject(payload.toString(kTextPrecision));
}
