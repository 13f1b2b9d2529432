#include "src/SwJsonGenerator.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "core/SwJsonArray.h"
#include "core/saturate.h"
#include "src/SecretText.h"
#include "src/c_locale.h"
#include "src/json_string_writer.h"

namespace {

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
      text_ += "null";
      break;
    case SwJsonValue::Kind::Bool:
    case SwJsonValue::Kind::Int:
      appendScalar(value.toString());
      break;
    case SwJsonValue::Kind::Double:
      appendScalar(numberText(value.number()));
      break;
    case SwJsonValue::Kind::String:
      appendString(value.text());
      break;
    case SwJsonValue::Kind::Object:
      if (value.object()) {
        begin(*value.object());
      } else {
        text_ += "{}";
      }
      break;
    case SwJsonValue::Kind::Array:
      if (value.array()) {
        begin(*value.array());
      } else {
        text_ += "[]";
      }
      break;
  }
}

void SwJsonGenerator::begin(const SwJsonObject& object) {
  if (object.empty()) {
    text_ += "{}";
    return;
  }
  text_ += '{';
  open_.push_back({&object, nullptr, object.begin(), 0});
}

void SwJsonGenerator::begin(const SwJsonArray& array) {
  if (array.empty()) {
    text_ += "[]";
    return;
  }
  text_ += '[';
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
    text_ += bracket;
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

  if (!isFirst) text_ += ',';
  beginLine(level_ + open_.size());
  if (!isObject) return &(*open.array)[open.nextElement++];

  const auto& [key, value] = *open.nextMember++;
  appendQuoted(key);
  text_ += ": ";
  return &value;
}

void SwJsonGenerator::beginLine(std::size_t level) {
  if (layout_ == Layout::Compact) return;
  text_ += '\n';
  text_.append(2 * level, ' ');
}

void SwJsonGenerator::appendScalar(std::string text) {
  if (isKeyed_) {
    SecretText plain(std::move(text));
    text_ += cipher_.encrypt(plain.text());
  } else {
    text_ += text;
  }
}

void SwJsonGenerator::appendString(const std::string& text) {
  if (isKeyed_) {
    appendQuoted(cipher_.encrypt(text));
  } else {
    appendQuoted(text);
  }
}

void SwJsonGenerator::appendQuoted(const std::string& text) {
  text_ += '"';
  appendEscapedJson(text, text_);
  text_ += '"';
}
