#include "core/SwJsonValue.h"

#include <limits>
#include <utility>

#include "SwJsonTree.h"
#include "c_locale.h"

SwJsonValue::SwJsonValue(unsigned long value) noexcept {
  if (value <= static_cast<unsigned long>(std::numeric_limits<std::int64_t>::max())) {
    kind_ = Kind::Int;
    integer_ = static_cast<std::int64_t>(value);
  } else {
    kind_ = Kind::Double;
    number_ = static_cast<double>(value);
  }
}

SwJsonValue::SwJsonValue(const char* text) : kind_(Kind::String), text_(text == nullptr ? "" : text) {}

SwJsonValue::SwJsonValue(SwJsonObject object)
    : kind_(Kind::Object), object_(std::make_shared<SwJsonObject>(std::move(object))) {}

SwJsonValue::SwJsonValue(SwJsonArray array)
    : kind_(Kind::Array), array_(std::make_shared<SwJsonArray>(std::move(array))) {}

SwJsonValue SwJsonValue::ofKind(Kind kind) noexcept {
  SwJsonValue value;
  value.kind_ = kind;
  return value;
}

SwJsonValue::SwJsonValue(const SwJsonValue& other) : SwJsonValue() {
  SwJsonTree::copy(other, *this);
}

SwJsonValue::SwJsonValue(SwJsonValue&& other) noexcept {
  swap(other);
}

// A temporary takes the old content along, last, so that `other` may stand inside it.
SwJsonValue& SwJsonValue::operator=(const SwJsonValue& other) {
  SwJsonValue copy(other);
  swap(copy);
  return *this;
}

SwJsonValue& SwJsonValue::operator=(SwJsonValue&& other) noexcept {
  SwJsonValue taken(std::move(other));
  swap(taken);
  return *this;
}

SwJsonValue::~SwJsonValue() {
  if (object_ || array_) SwJsonTree::release(*this);
}

void SwJsonValue::swap(SwJsonValue& other) noexcept {
  std::swap(kind_, other.kind_);
  std::swap(boolean_, other.boolean_);
  std::swap(integer_, other.integer_);
  std::swap(number_, other.number_);
  text_.swap(other.text_);
  object_.swap(other.object_);
  array_.swap(other.array_);
}

bool SwJsonValue::equal(const SwJsonValue& a, const SwJsonValue& b) {
  return SwJsonTree::equal(a, b);
}

std::string SwJsonValue::toString() const {
  switch (kind_) {
    case Kind::Null:
      return "null";
    case Kind::Bool:
      return boolean_ ? "true" : "false";
    case Kind::Int:
      return std::to_string(integer_);
    case Kind::Double:
      return c_locale::toFixedText(number_);
    case Kind::String:
      return text_;
    case Kind::Object:
    case Kind::Array:
      return "{}";
  }
  return "null";
}

std::string SwJsonValue::escapeString(const std::string& text) {
  constexpr const char* kHexDigits = "0123456789ABCDEF";
  std::string escaped;
  escaped.reserve(text.size());
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    switch (byte) {
      case '"':
        escaped += "\\\"";
        break;
      case '\\':
        escaped += "\\\\";
        break;
      case '\b':
        escaped += "\\b";
        break;
      case '\f':
        escaped += "\\f";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '\t':
        escaped += "\\t";
        break;
      default:
        if (code < 0x20) {
          escaped += "\\u00";
          escaped += kHexDigits[code >> 4];
          escaped += kHexDigits[code & 0x0F];
        } else {
          escaped += byte;
        }
    }
  }
  return escaped;
}
