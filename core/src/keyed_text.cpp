#include "src/keyed_text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "src/ascii.h"
#include "src/c_locale.h"

namespace keyed_text {
namespace {

enum class NumberForm { None, Digits, DigitsWithPoint };

NumberForm numberForm(const std::string& text) {
  const std::size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
  std::size_t points = 0;
  for (std::size_t at = start; at < text.size(); ++at) {
    if (text[at] == '.') {
      ++points;
    } else if (!ascii::isDigit(text[at])) {
      return NumberForm::None;
    }
  }
  if (points == 1) return NumberForm::DigitsWithPoint;
  return points == 0 && text.size() > start ? NumberForm::Digits : NumberForm::None;
}

std::optional<SwJsonValue> literal(const std::string& text) {
  if (text == "true") return SwJsonValue(true);
  if (text == "false") return SwJsonValue(false);
  if (text == "null") return SwJsonValue();
  return std::nullopt;
}

}  // namespace

SwJsonValue quotedValue(SwString&& text) {
  if (std::optional<SwJsonValue> value = literal(text)) return *std::move(value);
  switch (numberForm(text)) {
    case NumberForm::Digits:
      return text.toInt(nullptr);
    case NumberForm::DigitsWithPoint:
      return static_cast<double>(text.toFloat());
    case NumberForm::None:
      break;
  }
  return std::move(text);
}

SwJsonValue bareValue(SwString&& text) {
  if (std::optional<SwJsonValue> value = literal(text)) return *std::move(value);
  std::size_t consumed = 0;
  if (text.str().find_first_of(".eE") != std::string::npos) {
    double number = 0.0;
    if (c_locale::toDouble(text, number, consumed) && consumed == text.size()) return number;
  } else {
    int64_t integer = 0;
    if (c_locale::toSigned(text, 10, integer, consumed) && consumed == text.size()) return integer;
  }
  return std::move(text);
}

}  // namespace keyed_text
