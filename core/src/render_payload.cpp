#include "core/render_payload.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/SwJsonDocument.h"

namespace {

/// Significant digits of a floating-point payload.
constexpr int kTextPrecision = 6;

bool convertsTo(const SwAny& payload, const std::string& targetTypeName) {
  const SwAny::ConversionRules& rules = SwAny::getConversionRules();
  const auto targets = rules.find(payload.typeName());
  return targets != rules.end() &&
         std::find(targets->second.begin(), targets->second.end(), targetTypeName) != targets->second.end();
}

SwJsonObject parseObject(const SwString& text) {
  if (text.empty()) return SwJsonObject();
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text, error)) return SwJsonObject();
  SwJsonValue root = document.takeRoot();
  return root.object() ? std::move(*root.object()) : SwJsonObject();
}

/// The object that a registered conversion gives, or else the text form.
SwJsonObject convertedOrParsed(const SwAny& payload) {
  const std::string objectTypeName = SwAny::typeNameOf<SwJsonObject>();
  if (payload.typeName() != objectTypeName && convertsTo(payload, objectTypeName)) {
    SwAny converted = payload.convert(objectTypeName);
    if (!converted.get<SwJsonObject>().empty()) return converted.take<SwJsonObject>();
  }
  // An SwString is its own text form.
  if (payload.typeName() == SwAny::typeNameOf<SwString>()) return parseObject(payload.get<SwString>());
  return parseObject(payload.toString(kTextPrecision));
}

/// Whether the payload holds an object with members.
bool holdsMembers(const SwAny& payload) {
  return payload.typeName() == SwAny::typeNameOf<SwJsonObject>() && !payload.get<SwJsonObject>().empty();
}

}  // namespace

SwJsonObject render_payload::anyToJsonObject(const SwAny& payload) {
  return holdsMembers(payload) ? payload.get<SwJsonObject>() : convertedOrParsed(payload);
}

SwJsonObject render_payload::anyToJsonObject(SwAny&& payload) {
  return holdsMembers(payload) ? payload.take<SwJsonObject>() : convertedOrParsed(payload);
}
