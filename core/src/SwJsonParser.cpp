#include "src/SwJsonParser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <exception>
#include <limits>
#include <system_error>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "src/SwJsonTree.h"
#include "src/ascii.h"
#include "src/c_locale.h"
#include "src/json_string_reader.h"
#include "src/keyed_text.h"

namespace {

/// No object is given room for more members before it has them, however many another one had.
constexpr std::size_t kMostExpected = 64;

bool startsLiteral(char byte) {
  return byte == '-' || ascii::isDigit(byte) || byte == 't' || byte == 'f' || byte == 'n';
}

bool endsBareToken(char byte) {
  return byte == ',' || byte == ']' || byte == '}' || ascii::isSpace(byte);
}

}  // namespace

/// The digits of a number read so far, and what they are as one integer as long as that is sure to fit.
struct SwJsonParser::Digits {
  std::size_t count = 0;
  uint64_t value = 0;

  /// Moves past digits and adds them; false if there is none.
  bool read(SwJsonCursor& cursor) noexcept {
    const char* const start = cursor.at();
    const char* at = start;
    for (; ascii::isDigit(*at); ++at, ++count) {
      if (count < kMost) value = 10 * value + static_cast<uint64_t>(*at - '0');
    }
    cursor.moveTo(at);
    return at != start;
  }

  bool areWhole() const noexcept { return count <= kMost; }

  /// Whether a double holds them without rounding.
  bool areExactDouble() const noexcept { return areWhole() && value <= uint64_t{1} << 53; }

  /// The double that is nearest to the value with the point moved by `places`, if they are an exact one: so
  /// is the power of ten, and a division rounds once.
  double over(std::size_t places) const noexcept { return static_cast<double>(value) / kPowersOfTen[places]; }

 private:
  static constexpr std::size_t kMost = 18;
  static constexpr double kPowersOfTen[kMost + 1] = {1,    1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                                     1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};
};

SwJsonValue SwJsonParser::parse() {
  Step step = Step::Value;
  while (step != Step::Stop) {
    switch (step) {
      case Step::Value:
        step = beginValue();
        break;
      case Step::Member:
        step = beginMember();
        break;
      case Step::Element:
        step = beginElement();
        break;
      case Step::Separator:
        step = passSeparator();
        break;
      case Step::Stop:
        break;
    }
  }
  // After an error the container in which it occurred is still open.
  return open_.empty() ? std::move(root_) : SwJsonValue();
}

SwJsonParser::Step SwJsonParser::beginValue() {
  cursor_.skipSpace();
  if (cursor_.atEnd()) return stop("Unexpected end of JSON input");
  const char byte = cursor_.peek();
  if (byte == '{') return openObject();
  if (byte == '[') return openArray();
  if (byte == '"') return quotedText();
  if (isKeyed_) return bareToken(byte);
  return startsLiteral(byte) ? literal(byte) : stop("Invalid JSON token");
}

SwJsonParser::Step SwJsonParser::literal(char firstByte) {
  switch (firstByte) {
    case 't':
    case 'f':
      return boolean();
    case 'n':
      return null();
    default:
      return number();
  }
}

SwJsonParser::Step SwJsonParser::openObject() {
  cursor_.advance();
  SwJsonValue& value = addSlot(SwJsonValue::Kind::Object);
  value.object_ = std::make_shared<SwJsonObject>();
  if (sizes_.size() <= open_.size()) sizes_.resize(open_.size() + 1, 1);
  open_.push_back({value.object_.get(), nullptr, sizes_[open_.size()]});
  return Step::Member;
}

SwJsonParser::Step SwJsonParser::openArray() {
  cursor_.advance();
  if (cursor_.atEnd()) return stop("Unterminated JSON array");
  SwJsonValue& value = addSlot(SwJsonValue::Kind::Array);
  value.array_ = std::make_shared<SwJsonArray>();
  open_.push_back({nullptr, value.array_.get(), 0});
  return Step::Element;
}

SwJsonParser::Step SwJsonParser::closeContainer() {
  const SwJsonObject* const closed = open_.back().object;
  open_.pop_back();
  if (closed) sizes_[open_.size()] = std::clamp<std::size_t>(closed->size(), 1, kMostExpected);
  return afterValue();
}

SwJsonParser::Step SwJsonParser::beginMember() {
  cursor_.skipSpace();
  if (cursor_.atEnd()) return stop("Unterminated JSON object");
  if (cursor_.skip('}')) return closeContainer();
  if (cursor_.peek() != '"') return stop("Expected string key in object");
  memberKey_ = readJsonString(cursor_, unescapedKey_);
  if (cursor_.failed()) return Step::Stop;
  cursor_.skipSpace();
  return cursor_.skip(':') ? beginValue() : stop("Expected ':' after object key");
}

SwJsonParser::Step SwJsonParser::beginElement() {
  cursor_.skipSpace();
  return cursor_.skip(']') ? closeContainer() : beginValue();
}

SwJsonParser::Step SwJsonParser::passSeparator() {
  cursor_.skipSpace();
  if (open_.back().object) {
    if (cursor_.atEnd()) return stop("Unterminated JSON object");
    if (cursor_.skip(',')) return Step::Member;
    return cursor_.skip('}') ? closeContainer() : stop("Expected ',' or '}' in object");
  }
  if (cursor_.atEnd()) return stop("Unterminated JSON array");
  if (cursor_.skip(',')) return Step::Element;
  return cursor_.skip(']') ? closeContainer() : stop("Expected ',' or ']' in array");
}

SwJsonParser::Step SwJsonParser::quotedText() {
  std::string unescaped;
  const std::string_view text = readJsonString(cursor_, unescaped);
  if (cursor_.failed()) return Step::Stop;
  if (!isKeyed_) {
    std::string& value = addSlot(SwJsonValue::Kind::String).text_;
    if (unescaped.empty()) {
      value = text;
    } else {
      value = std::move(unescaped);
    }
    return afterValue();
  }
  std::optional<SecretText> plain = decrypt(text);
  if (!plain) return stop("Unable to decrypt string value");
  return finishDecrypted(keyed_text::quotedValue(std::move(plain->text())));
}

/// The encrypted token at the position. If there is none or decrypting it throws, the bytes may still be a
/// plain literal.
SwJsonParser::Step SwJsonParser::bareToken(char firstByte) {
  const std::string_view text = cursor_.text();
  unsigned long end = cursor_.index();
  while (end < text.size() && !endsBareToken(text[end])) ++end;
  const std::string_view token = text.substr(cursor_.index(), end - cursor_.index());
  if (token.empty()) return literal(firstByte);
  std::optional<SecretText> plain = decrypt(token);
  if (!plain) return literal(firstByte);
  cursor_.advance(token.size());
  return finishDecrypted(keyed_text::bareValue(std::move(plain->text())));
}

/// Nothing if decrypting throws. Cipher text that cannot be decrypted does not make it throw: that gives the
/// empty string.
std::optional<SecretText> SwJsonParser::decrypt(std::string_view cipherText) {
  try {
    return SecretText(cipher_.decrypt(cipherText));
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

SwJsonParser::Step SwJsonParser::boolean() {
  const std::string_view word = readLetters();
  if (word != "true" && word != "false") return stop("Invalid boolean literal");
  addSlot(SwJsonValue::Kind::Bool).boolean_ = word == "true";
  return afterValue();
}

SwJsonParser::Step SwJsonParser::null() {
  if (readLetters() != "null") return stop("Invalid literal, expected 'null'");
  addSlot(SwJsonValue::Kind::Null);
  return afterValue();
}

SwJsonParser::Step SwJsonParser::number() {
  const char* const start = cursor_.at();
  cursor_.skip('-');
  Digits digits;
  if (cursor_.skip('0')) {
    if (ascii::isDigit(cursor_.peek())) return stop("Leading zeros are not allowed in JSON numbers");
  } else if (!digits.read(cursor_)) {
    return stop("Expected digit in number literal");
  }
  const std::size_t integerDigits = digits.count;
  const bool hasFraction = cursor_.skip('.');
  if (hasFraction && !digits.read(cursor_)) return stop("Expected digit after decimal point");
  if (cursor_.skip('e') || cursor_.skip('E')) {
    if (!cursor_.skip('+')) cursor_.skip('-');
    return cursor_.skipDigits() ? floatingPoint(start) : stop("Expected digit in exponent");
  }
  if (!hasFraction) return integer(start, digits);
  if (!digits.areExactDouble()) return floatingPoint(start);
  const double magnitude = digits.over(digits.count - integerDigits);
  return finishDouble(*start == '-' ? -magnitude : magnitude);
}

/// The token from `start` to the position has the grammar of an integer, so only its range is in doubt.
SwJsonParser::Step SwJsonParser::integer(const char* start, const Digits& digits) {
  int64_t value = 0;
  if (digits.areWhole()) {
    value = static_cast<int64_t>(digits.value);
    return finishInt(*start == '-' ? -value : value);
  }
  if (std::from_chars(start, cursor_.at(), value).ec == std::errc()) return finishInt(value);
  return stopAt(start, "Invalid integer number");
}

/// The token from `start` to the position has the grammar of a number.
SwJsonParser::Step SwJsonParser::floatingPoint(const char* start) {
  double value = 0.0;
  // strtod decides what is accepted and gives the value. For normal numbers from_chars gives the same result
  // several times faster.
  const auto [end, error] = std::from_chars(start, cursor_.at(), value);
  if (error == std::errc() && std::fabs(value) > std::numeric_limits<double>::min())
    return finishDouble(value);

  const std::string token(start, cursor_.at());
  std::size_t consumed = 0;
  if (c_locale::toDouble(token, value, consumed) && consumed == token.size()) return finishDouble(value);
  return stopAt(start, "Invalid floating-point number");
}

std::string_view SwJsonParser::readLetters() {
  const char* const start = cursor_.at();
  const char* at = start;
  while (ascii::isLetter(*at)) ++at;
  cursor_.moveTo(at);
  return std::string_view(start, static_cast<std::size_t>(at - start));
}

// Decrypted texts are overwritten before their memory is given back: all of a document that is refused, a
// member that another one of the same key replaces, and elements that an array moves when it grows.

SwJsonParser::~SwJsonParser() {
  if (isKeyed_) SwJsonTree::wipe(root_);
}

void SwJsonParser::makeWay() {
  if (open_.empty()) return;
  if (SwJsonArray* array = open_.back().array) {
    SwJsonTree::makeRoomAndWipe(*array);
  } else if (SwJsonValue* replaced = open_.back().object->lookUp(memberKey_)) {
    SwJsonTree::wipe(*replaced);
  }
}

SwJsonParser::Step SwJsonParser::finishDecrypted(SwJsonValue&& value) {
  try {
    addSlot(SwJsonValue::Kind::Null) = std::move(value);
  } catch (...) {
    SwJsonTree::wipe(value);
    throw;
  }
  return afterValue();
}

/// A value of `kind` in the innermost open container; without one, the result.
SwJsonValue& SwJsonParser::addSlot(SwJsonValue::Kind kind) {
  if (isKeyed_) makeWay();
  SwJsonValue* slot = &root_;
  if (!open_.empty()) {
    const Open& open = open_.back();
    slot = open.array ? &open.array->elements_.emplace_back() : &open.object->slot(memberKey_, open.expected);
  }
  slot->kind_ = kind;
  return *slot;
}

SwJsonParser::Step SwJsonParser::finishInt(int64_t value) {
  addSlot(SwJsonValue::Kind::Int).integer_ = value;
  return afterValue();
}

SwJsonParser::Step SwJsonParser::finishDouble(double value) {
  addSlot(SwJsonValue::Kind::Double).number_ = value;
  return afterValue();
}

/// Parsing stops after a value in a container if there is an error, which only the caller can have passed in.
SwJsonParser::Step SwJsonParser::afterValue() const {
  return open_.empty() || stopsAfterAnElement_ ? Step::Stop : Step::Separator;
}

SwJsonParser::Step SwJsonParser::stop(const char* message) {
  return stopAt(cursor_.at(), message);
}

/// Like stop, for an error that stands before the position.
SwJsonParser::Step SwJsonParser::stopAt(const char* at, const char* message) {
  cursor_.fail(message, at);
  return Step::Stop;
}
