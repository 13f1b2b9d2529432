#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "core/SwString.h"
#include "core/export.h"

class SwJsonArray;
class SwJsonObject;

/// One JSON value: a kind and one field per kind, of which only the kind's own is set.
///
/// A value owns everything below it. Copies are deep, so two values never share a container; moving hands the
/// containers over and leaves a Null. A value must not be moved into a container inside itself.
///
/// Trees may be nested as deeply as memory allows: copying, comparing, moving and destroying one use a fixed
/// amount of stack, and destroying allocates nothing.
///
/// Copying, comparing, and making a value with text or a container throw std::bad_alloc; moving and
/// destroying never do.
///
/// Threads: a value belongs to one thread; any number may read it while none changes it.
class SW_CORE_EXPORT SwJsonValue {
  struct FieldsOnly {
    explicit FieldsOnly() = default;
  };

 public:
  /// The numbers are fixed: stored configurations and other languages' bindings compare against them.
  enum class Kind : int32_t { Null = 0, Bool = 1, Int = 2, Double = 3, String = 4, Object = 5, Array = 6 };

  SwJsonValue() noexcept = default;
  SwJsonValue(std::nullptr_t) noexcept {}

  /// Of a bool alone: pointers and functions would convert to one silently.
  template <typename T, std::enable_if_t<std::is_same_v<T, bool>, int> = 0>
  SwJsonValue(T value) noexcept : kind_(Kind::Bool), boolean_(value) {}

  SwJsonValue(int value) noexcept : SwJsonValue(static_cast<long>(value)) {}
  SwJsonValue(long value) noexcept : kind_(Kind::Int), integer_(value) {}
  SwJsonValue(long long value) noexcept : SwJsonValue(static_cast<long>(value)) {}
  SwJsonValue(unsigned int value) noexcept : SwJsonValue(static_cast<long>(value)) {}

  /// An Int if the value fits a signed 64-bit number, otherwise the nearest Double.
  SwJsonValue(unsigned long value) noexcept;
  SwJsonValue(unsigned long long value) noexcept : SwJsonValue(static_cast<unsigned long>(value)) {}

  SwJsonValue(double value) noexcept : kind_(Kind::Double), number_(value) {}

  /// A String with the bytes up to the terminating NUL; a null pointer gives the empty String.
  SwJsonValue(const char* text);
  SwJsonValue(std::string text) noexcept : kind_(Kind::String), text_(std::move(text)) {}
  SwJsonValue(const SwString& text) : SwJsonValue(text.str()) {}
  SwJsonValue(SwString&& text) noexcept : SwJsonValue(std::move(text).str()) {}

  /// Take the container over (copy it in by passing an lvalue).
  SwJsonValue(SwJsonObject object);
  SwJsonValue(SwJsonArray array);

  /// A character would silently become an Int.
  SwJsonValue(char) = delete;

  /// For the library alone: a copy without the container.
  SwJsonValue(const SwJsonValue& other, FieldsOnly)
      : kind_(other.kind_),
        boolean_(other.boolean_),
        integer_(other.integer_),
        number_(other.number_),
        text_(other.text_) {}

  /// A value of `kind` whose fields are all clear: false, 0, 0.0, "". An Object or Array made this way has no
  /// container: object() and array() give null, and it reads, prints and compares like an empty one.
  static SwJsonValue ofKind(Kind kind) noexcept;

  SwJsonValue(const SwJsonValue& other) : SwJsonValue(other, FieldsOnly()) {
    if (other.hasContainer()) copyContainer(other);
  }
  SwJsonValue(SwJsonValue&& other) noexcept { takeFields(other); }
  SwJsonValue& operator=(const SwJsonValue& other);
  SwJsonValue& operator=(SwJsonValue&& other) noexcept;
  ~SwJsonValue() {
    if (hasContainer()) release();
  }

  Kind kind() const noexcept { return kind_; }
  bool isNull() const noexcept { return kind_ == Kind::Null; }
  bool isBool() const noexcept { return kind_ == Kind::Bool; }
  bool isInt() const noexcept { return kind_ == Kind::Int; }
  bool isDouble() const noexcept { return kind_ == Kind::Double; }
  bool isString() const noexcept { return kind_ == Kind::String; }
  bool isObject() const noexcept { return kind_ == Kind::Object; }
  bool isArray() const noexcept { return kind_ == Kind::Array; }

  /// The fields as they are, without conversion between kinds: false, 0, 0.0 and "" unless the kind is
  /// theirs. The text of a temporary is moved out.
  bool boolean() const noexcept { return boolean_; }
  int64_t integer() const noexcept { return integer_; }
  double number() const noexcept { return number_; }
  const std::string& text() const& noexcept { return text_; }
  std::string text() && noexcept { return takeText(); }

  /// A String's bytes, moved out of it, which leaves it empty; "" of any other kind.
  std::string takeText() noexcept { return std::exchange(text_, std::string()); }

  /// The container, owned by this value and valid until it changes or dies; null if there is none.
  const SwJsonObject* object() const noexcept { return object_.get(); }
  SwJsonObject* object() noexcept { return object_.get(); }
  const SwJsonArray* array() const noexcept { return array_.get(); }
  SwJsonArray* array() noexcept { return array_.get(); }

  /// Plain text: "null", "true" or "false", decimal digits, a Double with six digits after the point, a
  /// String's raw bytes. A container gives "{}" whatever it holds, and an Array too;
  /// SwJsonDocument::generateJson writes them out.
  std::string toString() const;

  /// The bytes of `text` as they stand between the quotes of a JSON string. Quote, backslash and the bytes
  /// below 0x20 are escaped; all others, '/' and 0x7F and everything from 0x80 on included, are copied.
  static std::string escapeString(const std::string& text);

  /// Equal kinds with equal content, containers compared member by member. Int 1 differs from Double 1.0, and
  /// a NaN equals nothing, itself included.
  friend bool operator==(const SwJsonValue& a, const SwJsonValue& b) { return equal(a, b); }
  friend bool operator!=(const SwJsonValue& a, const SwJsonValue& b) { return !equal(a, b); }

 private:
  friend class SwJsonParser;
  friend class SwJsonTree;

  static bool equal(const SwJsonValue& a, const SwJsonValue& b);
  bool hasContainer() const noexcept { return object_ || array_; }
  void copyContainer(const SwJsonValue& other);
  void takeFields(SwJsonValue& other) noexcept;
  void release() noexcept;

  Kind kind_ = Kind::Null;
  bool boolean_ = false;
  int64_t integer_ = 0;
  double number_ = 0.0;
  std::string text_;
  std::shared_ptr<SwJsonObject> object_;
  std::shared_ptr<SwJsonArray> array_;
};

/// Inline because parsing, growing containers and destroying them spend most of their time here.
inline void SwJsonValue::takeFields(SwJsonValue& other) noexcept {
  kind_ = std::exchange(other.kind_, Kind::Null);
  boolean_ = std::exchange(other.boolean_, false);
  integer_ = std::exchange(other.integer_, 0);
  number_ = std::exchange(other.number_, 0.0);
  text_ = std::move(other.text_);
  other.text_.clear();
  object_ = std::move(other.object_);
  array_ = std::move(other.array_);
}

/// The containers of a value are declared above only; here they are defined for whoever includes this header.
#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
