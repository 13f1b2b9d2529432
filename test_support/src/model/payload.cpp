#include "test_support/model/payload.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include "core/SwJsonArray.h"
#include "test_support/model/nearest_float.h"

namespace model {
namespace {

const SwJsonValue& memberOf(const SwJsonObject& object, const std::string& key) {
  static const SwJsonValue null;
  for (const auto& [name, value] : object) {
    if (name == key) return value;
  }
  return null;
}

// The whole number that has these low 32 bits, taken digit by digit.
std::int32_t narrowed(std::int64_t value) {
  constexpr std::int64_t kTurn = INT64_C(1) << 32;
  std::int64_t rest = value % kTurn;  // of the sign of the value
  if (rest >= kTurn / 2) rest -= kTurn;
  if (rest < -kTurn / 2) rest += kTurn;
  return static_cast<std::int32_t>(rest);
}

std::int32_t cut(double value) {
  if (std::isnan(value)) return 0;
  const double whole = std::trunc(value);
  if (whole > 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  if (whole < -2147483648.0) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(whole);
}

std::int32_t integerOf(const SwJsonValue& value) {
  if (value.isInt()) return narrowed(value.integer());
  if (value.isBool()) return value.boolean() ? 1 : 0;
  if (value.isDouble()) return cut(value.number());
  return 0;
}

float scoreOf(const SwJsonValue& value) {
  if (value.isDouble()) return nearestFloat(value.number());
  if (value.isInt()) return static_cast<float>(value.integer());
  if (value.isBool()) return value.boolean() ? 1.0F : 0.0F;
  return 0.0F;
}

std::string textOf(const SwJsonValue& value) {
  switch (value.kind()) {
    case SwJsonValue::Kind::Null:
      return "null";
    case SwJsonValue::Kind::Bool:
      return value.boolean() ? "true" : "false";
    case SwJsonValue::Kind::Int:
      return std::to_string(value.integer());
    case SwJsonValue::Kind::String:
      return value.text();
    case SwJsonValue::Kind::Double: {
      char text[400];  // the largest double has 309 digits before its point
      std::snprintf(text, sizeof(text), "%f", value.number());
      return text;
    }
    default:
      return "{}";
  }
}

}  // namespace

std::vector<scene::Detection> detectionsOf(const SwJsonObject& payload) {
  std::vector<scene::Detection> detections;
  const SwJsonArray* const elements = memberOf(payload, "detections").array();
  if (elements == nullptr) return detections;
  for (const SwJsonValue& element : *elements) {
    const SwJsonObject* const object = element.object();
    if (object == nullptr) continue;
    scene::Detection detection;
    detection.x = integerOf(memberOf(*object, "x"));
    detection.y = integerOf(memberOf(*object, "y"));
    detection.w = integerOf(memberOf(*object, "w"));
    detection.h = integerOf(memberOf(*object, "h"));
    detection.class_id = integerOf(memberOf(*object, "class_id"));
    detection.score = scoreOf(memberOf(*object, "score"));
    detection.mask = textOf(memberOf(*object, "class_info"));
    detections.push_back(detection);
  }
  return detections;
}

}  // namespace model
