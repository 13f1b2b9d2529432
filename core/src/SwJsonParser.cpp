#include "src/SwJsonParser.h"

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
  SwJsonValue value{SwJsonObject()};
  SwJsonObject* object = value.object();
  place(std::move(value));
  open_.push_back({object, nullptr});
  return Step::Member;
}

SwJsonParser::Step SwJsonParser::openArray() {
  cursor_.advance();
  if (cursor_.atEnd()) return stop("Unterminated JSON array");
  SwJsonValue value{SwJsonArray()};
  SwJsonArray* array = value.array();
  place(std::move(value));
  open_.push_back({nullptr, array});
  return Step::Element;
}

SwJsonParser::Step SwJsonParser::closeContainer() {
  open_.pop_back();
  return afterValue();
}

SwJsonParser::Step SwJsonParser::beginMember() {
  cursor_.skipSpace();
  if (cursor_.atEnd()) return stop("Unterminated JSON object");
  if (cursor_.skip('}')) return closeContainer();
  if (cursor_.peek() != '"') return stop("Expected string key in object");
  readJsonString(cursor_, memberKey_);
  if (cursor_.failed()) return Step::Stop;
  cursor_.skipSpace();
  return cursor_.skip(':') ? Step::Value : stop("Expected ':' after object key");
}

SwJsonParser::Step SwJsonParser::beginElement() {
  cursor_.skipSpace();
  return cursor_.skip(']') ? closeContainer() : Step::Value;
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
  std::string text;
  readJsonString(cursor_, text);
  if (cursor_.failed()) return Step::Stop;
  if (!isKeyed_) return finish(std::move(text));
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
  return isInteger ? integer(start) : floatingPoint(start);
}

/// The token from `start` to the position has the grammar of an integer, so only its range is in doubt.
SwJsonParser::Step SwJsonParser::integer(unsigned long start) {
  const char* const text = cursor_.text().data();
  int64_t value = 0;
  if (std::from_chars(text + start, text + cursor_.index(), value).ec == std::errc()) return finish(value);
  cursor_.fail("Invalid integer number", start);
  return Step::Stop;
}

SwJsonParser::Step SwJsonParser::floatingPoint(unsigned long start) {
  const char* const text = cursor_.text().data();
  double value = 0.0;
  // strtod decides what is accepted and gives the value. For normal numbers from_chars gives the same result
  // several times faster.
  const auto [end, error] = std::from_chars(text + start, text + cursor_.index(), value);
  if (error == std::errc() && std::fabs(value) > std::numeric_limits<double>::min()) return finish(value);

  const std::string token = cursor_.text().substr(start, cursor_.index() - start);
  std::size_t consumed = 0;
  if (c_locale::toDouble(token, value, consumed) && consumed == token.size()) return finish(value);
  cursor_.fail("Invalid floating-point number", start);
  return Step::Stop;
}

std::string_view SwJsonParser::readLetters() {
  const unsigned long start = cursor_.index();
  while (ascii::isLetter(cursor_.peek())) cursor_.advance();
  return std::string_view(cursor_.text()).substr(start, cursor_.index() - start);
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
  } else if (SwJsonValue* replaced = open_.back().object->find(memberKey_)) {
    SwJsonTree::wipe(*replaced);
  }
}

SwJsonParser::Step SwJsonParser::finishDecrypted(SwJsonValue&& value) {
  try {
    return finish(std::move(value));
  } catch (...) {
    SwJsonTree::wipe(value);
    throw;
  }
}

/// Puts a value into the innermost open container; without one, it is the result.
void SwJsonParser::place(SwJsonValue&& value) {
  if (isKeyed_) makeWay();
  if (open_.empty()) {
    root_ = std::move(value);
  } else if (open_.back().array) {
    open_.back().array->append(std::move(value));
  } else {
    open_.back().object->put(std::move(memberKey_), std::move(value));
  }
}

SwJsonParser::Step SwJsonParser::finish(SwJsonValue&& value) {
  place(std::move(value));
  return afterValue();
}

/// Parsing stops after a value in a container if there is an error, even one that the caller passed in.
SwJsonParser::Step SwJsonParser::afterValue() const {
  return open_.empty() || cursor_.failed() ? Step::Stop : Step::Separator;
}

SwJsonParser::Step SwJsonParser::stop(const char* message) {
  cursor_.fail(message);
  return Step::Stop;
}
