#include "src/SwJsonGenerator.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

#include "core/SwJsonArray.h"
#include "core/saturate.h"
#include "src/SecretText.h"
#include "src/c_locale.h"
#include "src/json_string_writer.h"
#include "src/plain_run.h"
#include "src/short_decimal.h"

namespace {

/// Below this magnitude a number's integral part is an int64_t.
constexpr double kIntegersEnd = 9223372036854775808.0;

std::string numberText(double number) {
  double integralPart = 0.0;
  const bool isIntegral = std::modf(number, &integralPart) == 0.0;
  return isIntegral ? std::to_string(sw_number::saturate<int64_t>(number))
                    : c_locale::toText(number, c_locale::kDefaultDigits);
}

}  // namespace

SwJsonGenerator::SwJsonGenerator(Layout layout, int level, const SwString& key)
    : layout_(layout),
      level_(level < 0 ? 0 : static_cast<std::size_t>(level)),
      isKeyed_(!key.empty()),
      cipher_(key) {}

void SwJsonGenerator::append(const SwJsonValue& value) {
  begin(value);
  finishOpen();
}

void SwJsonGenerator::append(const SwJsonObject& object) {
  begin(object);
  finishOpen();
}

void SwJsonGenerator::append(const SwJsonArray& array) {
  begin(array);
  finishOpen();
}

/// Writes a value as far as possible without its members; finishOpen writes those.
void SwJsonGenerator::begin(const SwJsonValue& value) {
  switch (value.kind()) {
    case SwJsonValue::Kind::Null:
      text_.append("null");
      break;
    case SwJsonValue::Kind::Bool:
    case SwJsonValue::Kind::Int:
    case SwJsonValue::Kind::Double:
      appendScalar(value);
      break;
    case SwJsonValue::Kind::String:
      appendString(value.text());
      break;
    case SwJsonValue::Kind::Object:
      if (value.object()) {
        begin(*value.object());
      } else {
        text_.append("{}");
      }
      break;
    case SwJsonValue::Kind::Array:
      if (value.array()) {
        begin(*value.array());
      } else {
        text_.append("[]");
      }
      break;
  }
}

void SwJsonGenerator::begin(const SwJsonObject& object) {
  if (object.empty()) {
    text_.append("{}");
    return;
  }
  text_.append('{');
  open_.push_back({&object, nullptr, object.begin(), 0});
}

void SwJsonGenerator::begin(const SwJsonArray& array) {
  if (array.empty()) {
    text_.append("[]");
    return;
  }
  text_.append('[');
  open_.push_back({nullptr, &array, {}, 0});
}

void SwJsonGenerator::finishOpen() {
  while (!open_.empty()) {
    Open& open = open_.back();
    if (const SwJsonValue* next = beginNext(open)) {
      begin(*next);
      continue;
    }
    const char bracket = open.object ? '}' : ']';
    open_.pop_back();
    beginLine(level_ + open_.size());
    text_.append(bracket);
  }
}

/// Writes what stands before the next member's value or the next element, and gives that; null if there is no
/// more.
const SwJsonValue* SwJsonGenerator::beginNext(Open& open) {
  const bool isObject = open.object != nullptr;
  const bool isFirst = isObject ? open.nextMember == open.object->begin() : open.nextElement == 0;
  const bool isEnd =
      isObject ? open.nextMember == open.object->end() : open.nextElement == open.array->size();
  if (isEnd) return nullptr;

  if (!isFirst) text_.append(',');
  beginLine(level_ + open_.size());
  if (!isObject) return &(*open.array)[open.nextElement++];

  const auto& [key, value] = *open.nextMember++;
  appendQuoted(key);
  text_.append(": ");
  return &value;
}

void SwJsonGenerator::beginLine(std::size_t level) {
  if (layout_ == Layout::Compact) return;
  text_.append('\n');
  text_.whole().append(2 * level, ' ');
}

void SwJsonGenerator::appendScalar(const SwJsonValue& value) {
  const bool isDouble = value.isDouble();
  if (isKeyed_) {
    appendEncrypted(isDouble ? numberText(value.number()) : value.toString());
  } else if (isDouble) {
    appendNumber(value.number());
  } else if (value.isInt()) {
    appendInteger(value.integer());
  } else {
    text_.append(value.boolean() ? "true" : "false");
  }
}

void SwJsonGenerator::appendInteger(int64_t number) {
  char* const start = text_.room();
  text_.endAt(std::to_chars(start, start + StagedText::kRoom, number).ptr);
}

/// Appends numberText(number).
void SwJsonGenerator::appendNumber(double number) {
  if (std::fabs(number) < kIntegersEnd) {
    const auto integer = static_cast<int64_t>(number);
    if (static_cast<double>(integer) == number) {
      appendInteger(integer);
      return;
    }
    if (const char* end = short_decimal::write(number, text_.room())) {
      text_.endAt(end);
      return;
    }
  }
  text_.append(numberText(number));
}

void SwJsonGenerator::appendEncrypted(std::string plainText) {
  SecretText plain(std::move(plainText));
  text_.append(cipher_.encrypt(plain.text()).str());
}

void SwJsonGenerator::appendString(const std::string& text) {
  if (isKeyed_) {
    appendQuoted(cipher_.encrypt(text));
  } else {
    appendQuoted(text);
  }
}

void SwJsonGenerator::appendQuoted(const std::string& text) {
  static_assert(plain_run::kShort + 2 <= StagedText::kRoom);
  char* const start = text_.room();
  *start = '"';
  if (text.size() <= plain_run::kShort && plain_run::copyShort(text.data(), text.size(), start + 1)) {
    start[1 + text.size()] = '"';
    text_.endAt(start + 2 + text.size());
    return;
  }
  text_.endAt(start + 1);
  appendEscapedJson(text, text_.whole());
  text_.append('"');
}
