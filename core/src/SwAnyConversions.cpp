#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "core/SwAny.h"
#include "core/SwList.h"
#include "src/SwJsonGenerator.h"
#include "src/c_locale.h"

// The conversions that every process has. The rules list each source's targets in the order in which they
// stand here.

namespace {

/// Significant digits. Ten restore every float; fifteen restore every decimal of as many digits, but not
/// every double.
constexpr int kFloatDigits = 10;
constexpr int kDoubleDigits = 15;

const char* sharedBytes(const SwString& text) {
  // Never destroyed: the pointer that was given out stays good until the next conversion.
  static std::string& buffer = *new std::string();
  buffer = text;
  return buffer.c_str();
}

long toLong(const SwString& text) {
  int64_t value = 0;
  std::size_t consumed = 0;
  return c_locale::toSigned(text, c_locale::automaticBase(text), value, consumed) ? value : 0;
}

template <typename Unsigned>
Unsigned toUnsigned(const SwString& text) {
  const SwString trimmed = text.trimmed();
  if (!trimmed.empty() && trimmed[0] == '-') return 0;
  uint64_t value = 0;
  std::size_t consumed = 0;
  const bool valid = c_locale::toUnsigned(trimmed, c_locale::automaticBase(trimmed), value, consumed) &&
                     value <= std::numeric_limits<Unsigned>::max();
  return valid ? static_cast<Unsigned>(value) : 0;
}

SwString joined(const std::vector<std::string>& parts) {
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i != 0) text += ',';
    text += parts[i];
  }
  return text;
}

std::vector<std::string> splitAtCommas(const SwString& text) {
  const std::vector<SwString> parts = text.split(',');
  return std::vector<std::string>(parts.begin(), parts.end());
}

template <typename Json>
SwString compactText(const Json& json) {
  const SwString noKey;
  SwJsonGenerator generator(SwJsonGenerator::Layout::Compact, 0, noKey);
  generator.append(json);
  return generator.takeText();
}

/// Unlike in JSON text, a Double without a fraction is not written as an integer: 1e20 stays "1e+20".
/// Containers and Strings are converted by the generator; the texts for containers here are a fallback.
SwString plainValueText(const SwJsonValue& value) {
  switch (value.kind()) {
    case SwJsonValue::Kind::Bool:
      return value.boolean() ? "true" : "false";
    case SwJsonValue::Kind::Int:
      return std::to_string(value.integer());
    case SwJsonValue::Kind::Double:
      return c_locale::toText(value.number(), c_locale::kDefaultDigits);
    case SwJsonValue::Kind::Object:
      return "SwJsonValue(Object)";
    case SwJsonValue::Kind::Array:
      return "SwJsonValue(Array)";
    default:
      return "null";
  }
}

SwString jsonValueText(const SwJsonValue& value) {
  return value.isObject() || value.isArray() || value.isString() ? compactText(value) : plainValueText(value);
}

}  // namespace

void SwAny::registerScalarConversions() {
  enterConversion<SwString, const char*>(sharedBytes);
  enterConversion<SwString, int>([](const SwString& text) { return text.toInt(nullptr); });
  enterConversion<int, SwString>([](int value) { return SwString(std::to_string(value)); });
  enterConversion<SwString, unsigned int>(toUnsigned<unsigned int>);
  enterConversion<unsigned int, SwString>([](unsigned int value) { return SwString(std::to_string(value)); });
  enterConversion<SwString, long>(toLong);
  enterConversion<long, SwString>([](long value) { return SwString(std::to_string(value)); });
  enterConversion<SwString, unsigned long>(toUnsigned<unsigned long>);
  enterConversion<unsigned long, SwString>(
      [](unsigned long value) { return SwString(std::to_string(value)); });
  enterConversion<SwString, float>([](const SwString& text) { return text.toFloat(); });
  enterConversion<float, SwString>(
      [](float value) { return SwString(c_locale::toText(static_cast<double>(value), kFloatDigits)); });
  enterConversion<SwString, double>([](const SwString& text) { return text.toDouble(); });
  enterConversion<double, SwString>(
      [](double value) { return SwString(c_locale::toText(value, kDoubleDigits)); });
  enterConversion<SwString, bool>([](const SwString& text) { return text == "true"; });
  enterConversion<bool, SwString>([](bool value) { return SwString(value ? "true" : "false"); });
}

void SwAny::registerListConversions() {
  enterConversion<std::vector<std::string>, SwString>(joined);
  enterConversion<SwString, std::vector<std::string>>(splitAtCommas);
  enterConversion<SwList<unsigned char>, SwString>(
      [](const SwList<unsigned char>& bytes) { return SwString(std::string(bytes.begin(), bytes.end())); });
  enterConversion<SwString, SwList<unsigned char>>([](const SwString& text) {
    const std::string bytes = text.trimmed();
    return SwList<unsigned char>(bytes.begin(), bytes.end());
  });
}

void SwAny::registerJsonConversions() {
  enterConversion<SwJsonValue, SwString>(jsonValueText);
  enterConversion<SwJsonArray, SwString>(compactText<SwJsonArray>);
  enterConversion<SwJsonObject, SwString>(compactText<SwJsonObject>);
}

void SwAny::registerByteConversions() {
  enterConversion<SwString, std::vector<unsigned char>>(
      [](const SwString& text) { return std::vector<unsigned char>(text.str().begin(), text.str().end()); });
  enterConversion<SwString, std::string>([](const SwString& text) { return text.str(); });
  enterConversion<std::string, SwString>([](const std::string& text) { return SwString(text); });
  enterConversion<const char*, SwString>([](const char* text) { return SwString(text); });
}
