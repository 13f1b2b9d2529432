#include "core/SwJsonValue.h"

#include <limits>
#include <utility>

#include "src/SwJsonTree.h"
#include "src/c_locale.h"
#include "src/json_string_writer.h"

SwJsonValue::SwJsonValue(unsigned long value) noexcept {
  if (value <= static_cast<unsigned long>(std::numeric_limits<int64_t>::max())) {
    kind_ = Kind::Int;
    integer_ = static_cast<int64_t>(value);
  } else {
    kind_ = Kind::Double;
    number_ = static_cast<double>(value);
  }
}

SwJsonValue::SwJsonValue(const char* text) : kind_(Kind::String), text_(text ? text : "") {}

SwJsonValue::SwJsonValue(SwJsonObject object)
    : kind_(Kind::Object), object_(std::make_shared<SwJsonObject>(std::move(object))) {}

SwJsonValue::SwJsonValue(SwJsonArray array)
    : kind_(Kind::Array), array_(std::make_shared<SwJsonArray>(std::move(array))) {}

SwJsonValue SwJsonValue::ofKind(Kind kind) noexcept {
  SwJsonValue value;
  value.kind_ = kind;
  return value;
}

SwJsonValue& SwJsonValue::operator=(const SwJsonValue& other) {
  return *this = SwJsonValue(other);
}

/// The old content dies last, because `other` may stand inside it.
SwJsonValue& SwJsonValue::operator=(SwJsonValue&& other) noexcept {
  if (this == &other) return *this;
  const SwJsonValue old(std::move(*this));
  takeFields(other);
  return *this;
}

void SwJsonValue::copyContainer(const SwJsonValue& other) {
  SwJsonTree::copyContainer(other, *this);
}

void SwJsonValue::release() noexcept {
  SwJsonTree::release(*this);
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
  std::string escaped;
  escaped.reserve(text.size());
  appendEscapedJson(text, escaped);
  return escaped;
}
