#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/SwJsonValue.h"

/// The rules of JSON texts, plain and keyed, once more: a parser by recursive descent and a generator, both
/// as the rules read and without a thought for speed, to compare the library's with. Of the library only the
/// value type's fields are used.
namespace reference {

struct JsonValue {
  using Kind = SwJsonValue::Kind;

  Kind kind = Kind::Null;
  bool boolean = false;
  std::int64_t integer = 0;
  double number = 0.0;
  std::string text;
  std::vector<std::string> keys;  // of an Object, ascending
  std::vector<JsonValue> values;  // of an Object, in the order of the keys, or of an Array

  static JsonValue ofBool(bool value);
  static JsonValue ofInt(std::int64_t value);
  static JsonValue ofDouble(double value);
  static JsonValue ofString(std::string value);

  /// Adds the member to an Object or overwrites the one that is there.
  void put(const std::string& key, JsonValue value);

  /// The member of an Object; null if there is none.
  const JsonValue* member(const std::string& key) const;
};

/// Recursion goes no deeper than this many open containers.
constexpr std::size_t kMaxDepth = 500;

struct ParsedJson {
  JsonValue value;          // Null on an error
  std::string error;        // empty if there is none
  std::size_t index = 0;    // where the parser stands afterwards
  std::string diagnostics;  // what goes to standard error
  bool tooDeep = false;     // the reference gave up: nothing else here counts
};

struct ParsedString {
  std::string text;
  std::string error;
  std::size_t index = 0;
};

/// SwJsonDocument::parseJson, parseString and the message of reportError.
ParsedJson parseJson(const std::string& text, std::size_t index, const std::string& key);
ParsedString parseString(const std::string& text, std::size_t index);
std::string errorMessage(const std::string& text, std::size_t index, const std::string& message);

/// SwJsonDocument::generateJson. Recursive: for values no deeper than kMaxDepth.
std::string generateJson(const JsonValue& value, bool indented, std::size_t level, const std::string& key);

/// The text of a number as the generator writes it.
std::string doubleText(double number);

/// What a decrypted text of a keyed document stands for; appends what goes to standard error to
/// `diagnostics`.
JsonValue quotedValue(const std::string& text, std::string& diagnostics);
JsonValue bareValue(const std::string& text);

/// Whether the library's value is this one, doubles bit for bit, and all fields of other kinds are clear.
bool identical(const SwJsonValue& actual, const JsonValue& expected);

/// The value field by field. Nothing if it is deeper than kMaxDepth.
std::optional<JsonValue> modelOf(const SwJsonValue& value);

}  // namespace reference
