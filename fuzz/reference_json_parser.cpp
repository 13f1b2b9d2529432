// The parser of reference_json.h.

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "fuzz/reference_encryption.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"

namespace reference {
namespace {

bool isLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool isHexDigit(char byte) {
  return isDigit(byte) || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

std::string utf8(unsigned long codePoint) {
  const auto byte = [](unsigned long value) {
    return std::string(1, static_cast<char>(static_cast<unsigned char>(value)));
  };
  if (codePoint < 0x80) return byte(codePoint);
  if (codePoint < 0x800) return byte(0xC0 + codePoint / 64) + byte(0x80 + codePoint % 64);
  if (codePoint < 0x10000) {
    return byte(0xE0 + codePoint / 4096) + byte(0x80 + codePoint / 64 % 64) + byte(0x80 + codePoint % 64);
  }
  return byte(0xF0 + codePoint / 262144) + byte(0x80 + codePoint / 4096 % 64) +
         byte(0x80 + codePoint / 64 % 64) + byte(0x80 + codePoint % 64);
}

class Parser {
 public:
  Parser(const std::string& text, std::size_t index, const std::string& key)
      : text_(text), key_(key), at_(std::min(index, text.size())) {}

  ParsedJson document() {
    ParsedJson result;
    result.value = value();
    if (!error_.empty()) result.value = JsonValue();
    result.error = error_;
    result.index = at_;
    result.diagnostics = diagnostics_;
    result.tooDeep = tooDeep_;
    return result;
  }

  ParsedString quoted() {
    ParsedString result;
    result.text = string();
    if (!error_.empty()) result.text.clear();
    result.error = error_;
    result.index = at_;
    return result;
  }

 private:
  bool atEnd() const { return at_ >= text_.size(); }
  bool next(char byte) const { return !atEnd() && text_[at_] == byte; }
  bool nextIsDigit() const { return !atEnd() && isDigit(text_[at_]); }
  bool failed() const { return !error_.empty(); }

  void fail(const char* message, std::size_t index) {
    if (error_.empty()) error_ = errorMessage(text_, index, message);
  }

  void skipSpace() {
    while (!atEnd() && isSpace(text_[at_])) ++at_;
  }

  // False, with an error, if there is no digit.
  bool digits(const char* messageIfNone) {
    if (!nextIsDigit()) {
      fail(messageIfNone, at_);
      return false;
    }
    while (nextIsDigit()) ++at_;
    return true;
  }

  JsonValue value() {
    skipSpace();
    if (atEnd()) {
      fail("Unexpected end of JSON input", text_.size());
      return JsonValue();
    }
    const char first = text_[at_];
    if (first == '{' || first == '[') return container(first == '{');
    if (first == '"') return stringValue();
    if (key_.empty() && std::string("-0123456789tfn").find(first) == std::string::npos) {
      fail("Invalid JSON token", at_);
      return JsonValue();
    }
    if (!key_.empty()) {
      const std::string token = bareToken();
      if (!token.empty()) return bareValue(decrypt(token, key_, diagnostics_));
    }
    if (first == 't' || first == 'f') {
      const std::string word = letters();
      if (word == "true" || word == "false") return JsonValue::ofBool(word == "true");
      fail("Invalid boolean literal", at_);
      return JsonValue();
    }
    if (first == 'n') {
      if (letters() != "null") fail("Invalid literal, expected 'null'", at_);
      return JsonValue();
    }
    return number();
  }

  std::string letters() {
    std::string word;
    while (!atEnd() && isLetter(text_[at_])) word += text_[at_++];
    return word;
  }

  std::string bareToken() {
    std::string token;
    while (!atEnd() && !next(',') && !next(']') && !next('}') && !isSpace(text_[at_])) token += text_[at_++];
    return token;
  }

  JsonValue stringValue() {
    const std::string text = string();
    if (failed()) return JsonValue();
    if (key_.empty()) return JsonValue::ofString(text);
    return quotedValue(decrypt(text, key_, diagnostics_), diagnostics_);
  }

  JsonValue number() {
    const std::size_t start = at_;
    bool isDouble = false;
    if (next('-')) ++at_;
    if (next('0') && at_ + 1 < text_.size() && isDigit(text_[at_ + 1])) {
      ++at_;
      fail("Leading zeros are not allowed in JSON numbers", at_);
      return JsonValue();
    }
    if (!digits("Expected digit in number literal")) return JsonValue();
    if (next('.')) {
      isDouble = true;
      ++at_;
      if (!digits("Expected digit after decimal point")) return JsonValue();
    }
    if (next('e') || next('E')) {
      isDouble = true;
      ++at_;
      if (next('+') || next('-')) ++at_;
      if (!digits("Expected digit in exponent")) return JsonValue();
    }
    return converted(text_.substr(start, at_ - start), isDouble, start);
  }

  JsonValue converted(const std::string& token, bool isDouble, std::size_t start) {
    char* end = nullptr;
    errno = 0;
    if (isDouble) {
      const double value = std::strtod(token.c_str(), &end);
      if (errno != ERANGE && *end == '\0') return JsonValue::ofDouble(value);
      fail("Invalid floating-point number", start);
    } else {
      const long long value = std::strtoll(token.c_str(), &end, 10);
      if (errno != ERANGE && *end == '\0') return JsonValue::ofInt(value);
      fail("Invalid integer number", start);
    }
    return JsonValue();
  }

  JsonValue container(bool isObject) {
    if (++depth_ > kMaxDepth) {
      tooDeep_ = true;
      fail("too deep", at_);
      return JsonValue();
    }
    ++at_;
    JsonValue result = isObject ? object() : array();
    --depth_;
    return failed() ? JsonValue() : result;
  }

  JsonValue object() {
    JsonValue result;
    result.kind = JsonValue::Kind::Object;
    for (;;) {
      skipSpace();
      if (atEnd()) fail("Unterminated JSON object", at_);
      if (next('}')) break;
      if (!next('"')) fail("Expected string key in object", at_);
      if (failed()) return result;
      const std::string name = string();
      if (failed()) return result;
      skipSpace();
      if (!next(':')) fail("Expected ':' after object key", at_);
      if (failed()) return result;
      ++at_;
      JsonValue memberValue = value();
      if (failed()) return result;
      result.put(name, std::move(memberValue));
      skipSpace();
      if (atEnd()) fail("Unterminated JSON object", at_);
      if (next('}')) break;
      if (!next(',')) fail("Expected ',' or '}' in object", at_);
      if (failed()) return result;
      ++at_;
    }
    ++at_;
    return result;
  }

  JsonValue array() {
    JsonValue result;
    result.kind = JsonValue::Kind::Array;
    if (atEnd()) fail("Unterminated JSON array", at_);
    while (!failed()) {
      skipSpace();
      if (next(']')) break;
      result.values.push_back(value());
      if (failed()) return result;
      skipSpace();
      if (atEnd()) fail("Unterminated JSON array", at_);
      if (next(']')) break;
      if (!next(',')) fail("Expected ',' or ']' in array", at_);
      if (failed()) return result;
      ++at_;
    }
    if (!failed()) ++at_;
    return result;
  }

  std::string string() {
    std::string result;
    if (!atEnd()) ++at_;
    while (!failed()) {
      if (atEnd()) {
        fail("Unterminated string literal", text_.size());
      } else if (next('"')) {
        ++at_;
        return result;
      } else if (static_cast<unsigned char>(text_[at_]) < 0x20) {
        fail("Unescaped control character in string", at_);
      } else if (next('\\')) {
        ++at_;
        result += escape();
      } else {
        result += text_[at_++];
      }
    }
    return std::string();
  }

  std::string escape() {
    if (atEnd()) {
      fail("Invalid escape sequence in string", text_.size());
      return "";
    }
    if (next('u')) {
      ++at_;
      return unicodeEscape();
    }
    const std::string letters = "\"\\/bfnrt";
    const std::string meanings = "\x22\x5C\x2F\x08\x0C\x0A\x0D\x09";
    const std::size_t which = letters.find(text_[at_]);
    if (which == std::string::npos) {
      fail("Invalid escape character in string", at_);
      return "";
    }
    ++at_;
    return meanings.substr(which, 1);
  }

  unsigned long fourHexDigits() {
    if (text_.size() - at_ < 4) {
      fail("Incomplete Unicode escape sequence", at_);
      return 0;
    }
    const std::size_t end = at_ + 4;
    for (; at_ < end; ++at_) {
      if (!isHexDigit(text_[at_])) {
        fail("Invalid hex digit in Unicode escape", at_);
        return 0;
      }
    }
    return std::stoul(text_.substr(end - 4, 4), nullptr, 16);
  }

  std::string unicodeEscape() {
    const unsigned long first = fourHexDigits();
    if (failed()) return "";
    if (first >= 0xDC00 && first <= 0xDFFF) {
      fail("Unexpected low surrogate without leading high surrogate", at_);
      return "";
    }
    if (first < 0xD800 || first > 0xDBFF) return utf8(first);
    if (text_.substr(at_, 2) != "\\u") {
      fail("Missing low surrogate after high surrogate", at_);
      return "";
    }
    at_ += 2;
    const unsigned long second = fourHexDigits();
    if (failed()) return "";
    if (second < 0xDC00 || second > 0xDFFF) {
      fail("Invalid low surrogate in Unicode escape", at_);
      return "";
    }
    return utf8(0x10000 + (first - 0xD800) * 1024 + (second - 0xDC00));
  }

  const std::string& text_;
  const std::string& key_;
  std::size_t at_;
  std::size_t depth_ = 0;
  std::string error_;
  std::string diagnostics_;
  bool tooDeep_ = false;
};

}  // namespace

ParsedJson parseJson(const std::string& text, std::size_t index, const std::string& key) {
  return Parser(text, index, key).document();
}

ParsedString parseString(const std::string& text, std::size_t index) {
  return Parser(text, index, "").quoted();
}

std::string errorMessage(const std::string& text, std::size_t index, const std::string& message) {
  std::string excerpt;
  for (std::size_t at = index > 20 ? index - 20 : 0; at < text.size(); ++at) {
    if (at >= index && at - index >= 20) break;
    excerpt += text[at];
  }
  return message + " (index " + std::to_string(index) + ") near \"" + excerpt + "\"";
}

}  // namespace reference
