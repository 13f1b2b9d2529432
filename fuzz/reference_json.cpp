#include "fuzz/reference_json.h"

#include <algorithm>
#include <utility>

#include "fuzz/reference_numbers.h"
#include "test_support/model/nearest_float.h"

namespace reference {
namespace {

// Nothing if there are more than `depth` containers in one another.
std::optional<JsonValue> modelWithin(const SwJsonValue& value, std::size_t depth) {
  JsonValue model;
  model.kind = value.kind();
  model.boolean = value.boolean();
  model.integer = value.integer();
  model.number = value.number();
  model.text = value.text();
  if ((value.object() != nullptr || value.array() != nullptr) && depth == 0) return std::nullopt;
  if (value.object() != nullptr) {
    for (const auto& [key, member] : *value.object()) {
      std::optional<JsonValue> memberModel = modelWithin(member, depth - 1);
      if (!memberModel) return std::nullopt;
      model.keys.push_back(key);
      model.values.push_back(*std::move(memberModel));
    }
  }
  if (value.array() != nullptr) {
    for (const SwJsonValue& element : *value.array()) {
      std::optional<JsonValue> elementModel = modelWithin(element, depth - 1);
      if (!elementModel) return std::nullopt;
      model.values.push_back(*std::move(elementModel));
    }
  }
  return model;
}

bool sameFields(const SwJsonValue& actual, const JsonValue& expected) {
  const bool isObject = expected.kind == JsonValue::Kind::Object;
  const bool isArray = expected.kind == JsonValue::Kind::Array;
  return actual.kind() == expected.kind && actual.boolean() == expected.boolean &&
         actual.integer() == expected.integer && identical(actual.number(), expected.number) &&
         actual.text() == expected.text && (actual.object() != nullptr) == isObject &&
         (actual.array() != nullptr) == isArray;
}

bool sameMembers(const SwJsonObject& actual, const JsonValue& expected) {
  if (actual.size() != expected.keys.size()) return false;
  std::size_t at = 0;
  for (const auto& [key, value] : actual) {
    if (key != expected.keys[at] || !identical(value, expected.values[at])) return false;
    ++at;
  }
  return true;
}

bool sameElements(const SwJsonArray& actual, const JsonValue& expected) {
  if (actual.size() != expected.values.size()) return false;
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (!identical(actual[i], expected.values[i])) return false;
  }
  return true;
}

std::optional<JsonValue> literalValue(const std::string& text) {
  if (text == "true") return JsonValue::ofBool(true);
  if (text == "false") return JsonValue::ofBool(false);
  if (text == "null") return JsonValue();
  return std::nullopt;
}

}  // namespace

JsonValue JsonValue::ofBool(bool value) {
  JsonValue result;
  result.kind = Kind::Bool;
  result.boolean = value;
  return result;
}

JsonValue JsonValue::ofInt(std::int64_t value) {
  JsonValue result;
  result.kind = Kind::Int;
  result.integer = value;
  return result;
}

JsonValue JsonValue::ofDouble(double value) {
  JsonValue result;
  result.kind = Kind::Double;
  result.number = value;
  return result;
}

JsonValue JsonValue::ofString(std::string value) {
  JsonValue result;
  result.kind = Kind::String;
  result.text = std::move(value);
  return result;
}

void JsonValue::put(const std::string& key, JsonValue value) {
  const auto place = std::lower_bound(keys.begin(), keys.end(), key);
  const auto offset = place - keys.begin();
  if (place != keys.end() && *place == key) {
    values[static_cast<std::size_t>(offset)] = std::move(value);
  } else {
    keys.insert(place, key);
    values.insert(values.begin() + offset, std::move(value));
  }
}

const JsonValue* JsonValue::member(const std::string& key) const {
  const auto place = std::find(keys.begin(), keys.end(), key);
  return place != keys.end() ? &values[static_cast<std::size_t>(place - keys.begin())] : nullptr;
}

JsonValue quotedValue(const std::string& text, std::string& diagnostics) {
  if (std::optional<JsonValue> value = literalValue(text)) return *std::move(value);
  const std::string digits = !text.empty() && text[0] == '-' ? text.substr(1) : text;
  const auto points = std::count(digits.begin(), digits.end(), '.');
  const auto others =
      std::count_if(digits.begin(), digits.end(), [](char byte) { return byte != '.' && !isDigit(byte); });
  if (others == 0 && points == 0 && !digits.empty()) {
    const std::optional<int> value = toInt(text);
    if (!value) diagnostics += "Invalid int conversion in SwString: " + text + "\n";
    return JsonValue::ofInt(value.value_or(0));
  }
  if (others == 0 && points == 1) {
    const std::optional<double> value = numericDouble(text);
    if (!value) diagnostics += "Invalid float conversion in SwString: " + text + "\n";
    return JsonValue::ofDouble(value ? static_cast<double>(model::nearestFloat(*value)) : 0.0);
  }
  return JsonValue::ofString(text);
}

JsonValue bareValue(const std::string& text) {
  if (std::optional<JsonValue> value = literalValue(text)) return *std::move(value);
  std::size_t consumed = 0;
  if (text.find_first_of(".eE") != std::string::npos) {
    const std::optional<double> value = doublePrefix(text, consumed);
    if (value && consumed == text.size()) return JsonValue::ofDouble(*value);
  } else {
    const std::optional<std::int64_t> value = signedPrefix(text, 10, consumed);
    if (value && consumed == text.size()) return JsonValue::ofInt(*value);
  }
  return JsonValue::ofString(text);
}

bool identical(const SwJsonValue& actual, const JsonValue& expected) {
  if (!sameFields(actual, expected)) return false;
  if (actual.object() != nullptr) return sameMembers(*actual.object(), expected);
  if (actual.array() != nullptr) return sameElements(*actual.array(), expected);
  return true;
}

std::optional<JsonValue> modelOf(const SwJsonValue& value) {
  return modelWithin(value, kMaxDepth);
}

}  // namespace reference
