#include "SwJsonParser.h"

#include <cstdint>
#include <utility>

#include "ascii.h"
#include "c_locale.h"
#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "json_string_reader.h"
#include "keyed_text.h"

namespace {

bool startsLiteral(char byte) {
  return byte == '-' || ascii::isDigit(byte) || byte == 't' || byte == 'f' || byte == 'n';
}

bool endsBareToken(char byte) {
  return byte == ',' || byte == ']' || byte == '}' || ascii::isSpace(byte);
}

}  // namespace

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
  const bool finished = open_.empty() && !values_.empty();
  return finished ? std::move(values_.front()) : SwJsonValue();
}

SwJsonParser::Step SwJsonParser::beginValue() {
  cursor_.skipSpace();
  if (cursor_.atEnd()) return stop("Unexpected end of JSON input");
  const char byte = cursor_.peek();
  if (byte == '{' || byte == '[') return openContainer(byte == '{');
  if (byte == '"') return quotedText();
  if (!isKeyed()) return startsLiteral(byte) ? literal(byte) : stop("Invalid JSON token");
  std::optional<SwJsonValue> value = bareToken();
  return value ? finish(*std::move(value)) : literal(byte);
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

SwJsonParser::Step SwJsonParser::openContainer(bool isObject) {
  cursor_.advance();
  if (!isObject && cursor_.atEnd()) return stop("Unterminated JSON array");
  open_.push({isObject, values_.size()});
  return isObject ? Step::Member : Step::Element;
}

SwJsonParser::Step SwJsonParser::beginMember() {
  cursor_.skipSpace();
  if (cursor_.atEnd()) return stop("Unterminated JSON object");
  if (cursor_.skip('}')) return closeObject();
  if (cursor_.peek() != '"') return stop("Expected string key in object");
  keys_.push_back(readJsonString(cursor_));
  if (cursor_.failed()) return Step::Stop;
  cursor_.skipSpace();
  return cursor_.skip(':') ? Step::Value : stop("Expected ':' after object key");
}

SwJsonParser::Step SwJsonParser::beginElement() {
  cursor_.skipSpace();
  return cursor_.skip(']') ? closeArray() : Step::Value;
}

SwJsonParser::Step SwJsonParser::passSeparator() {
  cursor_.skipSpace();
  if (open_.top().isObject) {
    if (cursor_.atEnd()) return stop("Unterminated JSON object");
    if (cursor_.skip(',')) return Step::Member;
    return cursor_.skip('}') ? closeObject() : stop("Expected ',' or '}' in object");
  }
  if (cursor_.atEnd()) return stop("Unterminated JSON array");
  if (cursor_.skip(',')) return Step::Element;
  return cursor_.skip(']') ? closeArray() : stop("Expected ',' or ']' in array");
}

SwJsonParser::Step SwJsonParser::closeObject() {
  const std::size_t firstValue = open_.top().firstValue;
  const std::size_t count = values_.size() - firstValue;
  const std::size_t firstKey = keys_.size() - count;
  SwJsonObject object;
  for (std::size_t i = 0; i < count; ++i) {
    object.insert(std::move(keys_[firstKey + i]), std::move(values_[firstValue + i]));
  }
  keys_.resize(firstKey);
  values_.resize(firstValue);
  open_.pop();
  return finish(std::move(object));
}

SwJsonParser::Step SwJsonParser::closeArray() {
  const std::size_t firstValue = open_.top().firstValue;
  SwJsonArray array;
  array.reserve(values_.size() - firstValue);
  for (std::size_t i = firstValue; i < values_.size(); ++i) array.append(std::move(values_[i]));
  values_.resize(firstValue);
  open_.pop();
  return finish(std::move(array));
}

SwJsonParser::Step SwJsonParser::quotedText() {
  std::string text = readJsonString(cursor_);
  if (cursor_.failed()) return Step::Stop;
  if (!isKeyed()) return finish(std::move(text));
  const std::optional<SwString> plain = decrypt(std::move(text));
  return plain ? finish(keyed_text::quotedValue(*plain)) : stop("Unable to decrypt string value");
}

// Takes the encrypted token at the position. Nothing, with the position unmoved, if there is none or
// decrypting it throws; the bytes may then still be a plain literal.
std::optional<SwJsonValue> SwJsonParser::bareToken() {
  const std::string& text = cursor_.text();
  unsigned long end = cursor_.index();
  while (end < text.size() && !endsBareToken(text[end])) ++end;
  const unsigned long length = end - cursor_.index();
  if (length == 0) return std::nullopt;
  const std::optional<SwString> plain = decrypt(text.substr(cursor_.index(), length));
  if (!plain) return std::nullopt;
  cursor_.advance(length);
  return keyed_text::bareValue(*plain);
}

// Nothing if decryptAES throws. Cipher text that cannot be decrypted does not make it throw: that gives the
// empty string.
std::optional<SwString> SwJsonParser::decrypt(std::string cipherText) const {
  SwString text(std::move(cipherText));
  try {
    return text.decryptAES(key_);
  } catch (...) {
    return std::nullopt;
  }
}

SwJsonParser::Step SwJsonParser::boolean() {
  const std::string word = readLetters();
  if (word != "true" && word != "false") return stop("Invalid boolean literal");
  return finish(word == "true");
}

SwJsonParser::Step SwJsonParser::null() {
  return readLetters() == "null" ? finish(nullptr) : stop("Invalid literal, expected 'null'");
}

SwJsonParser::Step SwJsonParser::number() {
  const unsigned long start = cursor_.index();
  cursor_.skip('-');
  if (cursor_.skip('0')) {
    if (ascii::isDigit(cursor_.peek())) return stop("Leading zeros are not allowed in JSON numbers");
  } else if (!cursor_.skipDigits()) {
    return stop("Expected digit in number literal");
  }

  bool isInteger = true;
  if (cursor_.skip('.')) {
    isInteger = false;
    if (!cursor_.skipDigits()) return stop("Expected digit after decimal point");
  }
  if (cursor_.skip('e') || cursor_.skip('E')) {
    isInteger = false;
    if (!cursor_.skip('+')) cursor_.skip('-');
    if (!cursor_.skipDigits()) return stop("Expected digit in exponent");
  }
  return convertNumber(cursor_.text().substr(start, cursor_.index() - start), isInteger, start);
}

SwJsonParser::Step SwJsonParser::convertNumber(const std::string& token, bool isInteger,
                                               unsigned long start) {
  std::size_t consumed = 0;
  if (isInteger) {
    std::int64_t integer = 0;
    if (c_locale::toSigned(token, 10, integer, consumed) && consumed == token.size()) return finish(integer);
    cursor_.fail("Invalid integer number", start);
  } else {
    double number = 0.0;
    if (c_locale::toDouble(token, number, consumed) && consumed == token.size()) return finish(number);
    cursor_.fail("Invalid floating-point number", start);
  }
  return Step::Stop;
}

std::string SwJsonParser::readLetters() {
  const unsigned long start = cursor_.index();
  while (ascii::isLetter(cursor_.peek())) cursor_.advance();
  return cursor_.text().substr(start, cursor_.index() - start);
}

// Takes a finished value to the container that waits for it; without one, it is the result.
SwJsonParser::Step SwJsonParser::finish(SwJsonValue value) {
  values_.push_back(std::move(value));
  return open_.empty() || cursor_.failed() ? Step::Stop : Step::Separator;
}

SwJsonParser::Step SwJsonParser::stop(const char* message) {
  cursor_.fail(message);
  return Step::Stop;
}
