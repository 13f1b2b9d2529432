// The generator of reference_json.h.

#include <cmath>
#include <cstdio>

#include "fuzz/reference_encryption.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"

namespace reference {
namespace {

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    const std::string named = "\"\\\b\f\n\r\t";
    const std::size_t which = named.find(byte);
    if (which != std::string::npos) {
      out += '\\';
      out += "\"\\bfnrt"[which];
    } else if (code < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof(escape), "\\u%04X", static_cast<unsigned>(code));
      out += escape;
    } else {
      out += byte;
    }
  }
  return out + "\"";
}

std::string scalar(const std::string& text, const std::string& key) {
  return key.empty() ? text : encrypt(text, key);
}

std::string container(const JsonValue& value, bool indented, std::size_t level, const std::string& key) {
  const bool isObject = value.kind == JsonValue::Kind::Object;
  if (value.values.empty()) return isObject ? "{}" : "[]";
  const auto line = [indented](std::size_t depth) {
    return indented ? "\n" + std::string(2 * depth, ' ') : std::string();
  };
  std::string out = isObject ? "{" : "[";
  for (std::size_t i = 0; i < value.values.size(); ++i) {
    if (i != 0) out += ",";
    out += line(level + 1);
    if (isObject) out += quoted(value.keys[i]) + ": ";
    out += generateJson(value.values[i], indented, level + 1, key);
  }
  return out + line(level) + (isObject ? "}" : "]");
}

}  // namespace

std::string doubleText(double number) {
  double whole = 0.0;
  if (std::modf(number, &whole) != 0.0 || std::isnan(number)) return generalText(number, 6);
  if (number >= 9223372036854775808.0) return "9223372036854775807";
  if (number < -9223372036854775808.0) return "-9223372036854775808";
  return std::to_string(static_cast<long long>(whole));
}

std::string generateJson(const JsonValue& value, bool indented, std::size_t level, const std::string& key) {
  switch (value.kind) {
    case JsonValue::Kind::Null:
      return "null";
    case JsonValue::Kind::Bool:
      return scalar(value.boolean ? "true" : "false", key);
    case JsonValue::Kind::Int:
      return scalar(std::to_string(value.integer), key);
    case JsonValue::Kind::Double:
      return scalar(doubleText(value.number), key);
    case JsonValue::Kind::String:
      return quoted(key.empty() ? value.text : encrypt(value.text, key));
    case JsonValue::Kind::Object:
    case JsonValue::Kind::Array:
      return container(value, indented, level, key);
  }
  return "";
}

}  // namespace reference
